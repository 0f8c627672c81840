/*
 * A code page: multi-byte text to wide characters and back, by exact length.
 *
 * Zero characters are characters like any other. An undecodable byte b becomes U+DC00 + b and goes back to
 * b; a character that the page cannot express becomes "?". Code pages are settled once, live as long as the
 * process and may be used by any number of threads at once.
 */
#ifndef KELVANE_KERNEL32_TEXT_CODE_PAGE_H
#define KELVANE_KERNEL32_TEXT_CODE_PAGE_H

#include <stddef.h>
#include <cstdint>

inline namespace kelvane {

/* The answer of a conversion whose result is larger than the room given. */
inline constexpr size_t does_not_fit = SIZE_MAX;

struct Decoded_Length {
  size_t length; /* wide characters */
  bool clean;    /* no byte was undecodable */
};

class Code_Page {
 public:
  /* Both give the number of characters (bytes) written, or does_not_fit; the room may then hold anything.
   * They throw std::bad_alloc when the conversion itself has no memory. */
  virtual size_t decode(const char* text, size_t size, wchar_t* out, size_t room) const = 0;
  virtual size_t encode(const wchar_t* text, size_t length, char* out, size_t room) const = 0;

  /* What the two need. */
  virtual Decoded_Length decoded_length(const char* text, size_t size) const = 0;
  virtual size_t encoded_size(const wchar_t* text, size_t length) const = 0;

  /* Every byte below 0x80 is that ASCII character, whatever stands around it. */
  virtual bool keeps_ascii() const = 0;

 protected:
  ~Code_Page() = default;
};

/* The environment's, settled at the first call. */
const Code_Page& environment_code_page();

const Code_Page& utf8_code_page();

/* The page of a codeset name, such as "KOI8-R"; UTF-8 for an unknown one. Never released. */
const Code_Page& code_page_of(const char* codeset);

}  // namespace kelvane

#endif
