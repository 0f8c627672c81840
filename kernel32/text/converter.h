/*
 * Conversion of one codeset through the C library's converters, with the layer's rules for undecodable bytes
 * and inexpressible characters. A converter belongs to one conversion at a time.
 */
#ifndef KELVANE_KERNEL32_TEXT_CONVERTER_H
#define KELVANE_KERNEL32_TEXT_CONVERTER_H

#include <iconv.h>
#include <stdint.h>

#include "kernel32/text/code_page.h"

inline namespace kelvane {

class Converter {
 public:
  Converter(const char* to, const char* from) : descriptor_(iconv_open(to, from)) {}
  ~Converter();
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /* False for a pair of codesets that nobody can convert, or when memory is short. */
  bool is_open() const { return reinterpret_cast<intptr_t>(descriptor_) != -1; }

  enum class Result { done, no_room, stopped };

  /* Moves both positions on; stopped at a character that cannot be converted. Whatever the converter
   * holds back is written before done and stopped. */
  Result convert(const char*& in, const char* in_end, char*& out, char* out_end);

  /* After a stop: the text ended before the character did. */
  bool stopped_inside_sequence() const { return inside_sequence_; }

 private:
  Result flush(char*& out, char* out_end);

  iconv_t descriptor_;
  bool inside_sequence_ = false;
};

/* What iconv calls the wide characters of this host. */
inline constexpr char wide_codeset[] = "WCHAR_T";

/* Code_Page's decode and encode through a converter from (to) wide characters. */
size_t decode_through(Converter& converter, const char* text, size_t size, wchar_t* out, size_t room);
size_t encode_through(Converter& converter, bool keeps_ascii, const wchar_t* text, size_t length, char* out,
                      size_t room);

}  // namespace kelvane

#endif
