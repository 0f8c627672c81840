/*
 * A code page whose characters take a varying number of bytes, through the C library's converters: one for
 * each conversion, so that threads share nothing. Of two byte sequences for one character the converter's
 * own choice is written.
 */
#ifndef KELVANE_KERNEL32_TEXT_MULTI_BYTE_H
#define KELVANE_KERNEL32_TEXT_MULTI_BYTE_H

#include "kernel32/text/code_page.h"
#include "kernel32/text/locale_codeset.h"

inline namespace kelvane {

class Multi_Byte_Page final : public Code_Page {
 public:
  Multi_Byte_Page(const char* codeset, bool keeps_ascii);

  size_t decode(const char* text, size_t size, wchar_t* out, size_t room) const override;
  size_t encode(const wchar_t* text, size_t length, char* out, size_t room) const override;
  Decoded_Length decoded_length(const char* text, size_t size) const override;
  size_t encoded_size(const wchar_t* text, size_t length) const override;
  bool keeps_ascii() const override { return keeps_ascii_; }

 private:
  char codeset_[codeset_room];
  bool keeps_ascii_;
};

}  // namespace kelvane

#endif
