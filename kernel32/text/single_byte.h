/* A code page of one byte a character: a table each way, made once. */
#ifndef KELVANE_KERNEL32_TEXT_SINGLE_BYTE_H
#define KELVANE_KERNEL32_TEXT_SINGLE_BYTE_H

#include "kernel32/text/code_page.h"

inline namespace kelvane {

class Single_Byte_Page final : public Code_Page {
 public:
  /* The character of each byte; raw_byte() for one that has none. */
  explicit Single_Byte_Page(const wchar_t (&characters)[256]);

  size_t decode(const char* text, size_t size, wchar_t* out, size_t room) const override;
  size_t encode(const wchar_t* text, size_t length, char* out, size_t room) const override;
  Decoded_Length decoded_length(const char* text, size_t size) const override;
  size_t encoded_size(const wchar_t* text, size_t length) const override;
  bool keeps_ascii() const override { return keeps_ascii_; }

 private:
  struct Entry {
    wchar_t character;
    unsigned char byte;
  };

  const Entry* find(wchar_t character) const;
  unsigned char encoded(wchar_t character) const;
  bool is_undecodable(unsigned char byte) const;

  wchar_t characters_[256];
  Entry by_character_[256]; /* in ascending order */
  bool keeps_ascii_;
};

}  // namespace kelvane

#endif
