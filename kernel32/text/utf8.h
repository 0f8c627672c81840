/*
 * UTF-8 as the code page of the layer.
 *
 *   ASCII           1 byte
 *   U+0080..        2 to 4 bytes, the shortest form only, up to U+10FFFF
 *   U+D800..U+DFFF  3 bytes, so that lone surrogates come back as they were, except
 *   U+DC80..U+DCFF  1 byte: the byte that could not be decoded
 *
 * Every other sequence is undecodable, byte for byte, the three-byte forms of U+DC80..U+DCFF among them.
 * Decoding therefore loses nothing: encoding gives the same bytes again. The other way about the same holds
 * unless characters of U+DC80..U+DCFF stand side by side in such an order that their bytes are valid UTF-8.
 */
#ifndef KELVANE_KERNEL32_TEXT_UTF8_H
#define KELVANE_KERNEL32_TEXT_UTF8_H

#include "kernel32/text/code_page.h"

inline namespace kelvane {

class Utf8_Page final : public Code_Page {
 public:
  size_t decode(const char* text, size_t size, wchar_t* out, size_t room) const override;
  size_t encode(const wchar_t* text, size_t length, char* out, size_t room) const override;
  Decoded_Length decoded_length(const char* text, size_t size) const override;
  size_t encoded_size(const wchar_t* text, size_t length) const override;
  bool keeps_ascii() const override { return true; }
};

}  // namespace kelvane

#endif
