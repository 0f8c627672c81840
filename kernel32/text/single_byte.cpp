// Decoding reads a table; encoding searches the same table in the order of its characters. Where two bytes
// are the same character the lower byte is written.
#include "kernel32/text/single_byte.h"

#include <algorithm>

#include "kernel32/text/ascii_run.h"
#include "kernel32/text/raw_byte.h"

inline namespace kelvane {

Single_Byte_Page::Single_Byte_Page(const wchar_t (&characters)[256]) : keeps_ascii_(true) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    characters_[byte] = characters[byte];
    by_character_[byte] = {characters[byte], static_cast<unsigned char>(byte)};
    if (byte < 0x80 && static_cast<unsigned>(characters[byte]) != byte) keeps_ascii_ = false;
  }
  std::sort(by_character_, by_character_ + 256, [](const Entry& a, const Entry& b) {
    return a.character != b.character ? a.character < b.character : a.byte < b.byte;
  });
}

const Single_Byte_Page::Entry* Single_Byte_Page::find(wchar_t character) const {
  const Entry* const end = by_character_ + 256;
  const Entry* entry = std::lower_bound(by_character_, end, character,
                                        [](const Entry& a, wchar_t sought) { return a.character < sought; });
  return entry != end && entry->character == character ? entry : nullptr;
}

unsigned char Single_Byte_Page::encoded(wchar_t character) const {
  const Entry* entry = find(character);
  if (entry != nullptr) return entry->byte;
  if (is_raw_byte(character, keeps_ascii_)) return static_cast<unsigned char>(character & 0xFF);
  const Entry* question_mark = find(L'?');
  return question_mark != nullptr ? question_mark->byte : static_cast<unsigned char>('?');
}

bool Single_Byte_Page::is_undecodable(unsigned char byte) const { return characters_[byte] == raw_byte(byte); }

size_t Single_Byte_Page::decode(const char* text, size_t size, wchar_t* out, size_t room) const {
  if (size > room) return does_not_fit;
  size_t done = keeps_ascii_ ? widen_ascii_run(text, size, out) : 0;
  for (; done != size; ++done) out[done] = characters_[static_cast<unsigned char>(text[done])];
  return size;
}

Decoded_Length Single_Byte_Page::decoded_length(const char* text, size_t size) const {
  bool clean = true;
  for (size_t i = 0; i < size; ++i) clean = clean && !is_undecodable(static_cast<unsigned char>(text[i]));
  return {size, clean};
}

size_t Single_Byte_Page::encode(const wchar_t* text, size_t length, char* out, size_t room) const {
  if (length > room) return does_not_fit;
  size_t done = keeps_ascii_ ? narrow_ascii_run(text, length, out) : 0;
  for (; done != length; ++done) out[done] = static_cast<char>(encoded(text[done]));
  return length;
}

size_t Single_Byte_Page::encoded_size(const wchar_t*, size_t length) const { return length; }

}  // namespace kelvane
