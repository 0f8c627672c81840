// The sizes are learnt by converting into a block that grows until the result fits; nothing bounds what a
// byte or a character may become in a codeset of this kind.
#include "kernel32/text/multi_byte.h"

#include <cstring>
#include <memory>
#include <new>

#include "kernel32/text/converter.h"
#include "kernel32/text/raw_byte.h"

inline namespace kelvane {
namespace {

// Calls convert(out, room) with more and more room until the result fits.
template <typename Character, typename Convert>
size_t with_growing_room(size_t first_room, std::unique_ptr<Character[]>& out, const Convert& convert) {
  for (size_t room = first_room;; room *= 2) {
    out.reset(new Character[room]);
    const size_t result = convert(out.get(), room);
    if (result != does_not_fit) return result;
  }
}

void must_be_open(const Converter& converter) {
  if (!converter.is_open()) throw std::bad_alloc();
}

bool has_raw_byte(const wchar_t* text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (is_raw_byte(text[i], false)) return true;
  }
  return false;
}

}  // namespace

Multi_Byte_Page::Multi_Byte_Page(const char* codeset, bool keeps_ascii) : codeset_(), keeps_ascii_(keeps_ascii) {
  std::strncpy(codeset_, codeset, codeset_room - 1);
}

size_t Multi_Byte_Page::decode(const char* text, size_t size, wchar_t* out, size_t room) const {
  Converter converter(wide_codeset, codeset_);
  must_be_open(converter);
  return decode_through(converter, text, size, out, room);
}

size_t Multi_Byte_Page::encode(const wchar_t* text, size_t length, char* out, size_t room) const {
  Converter converter(codeset_, wide_codeset);
  must_be_open(converter);
  return encode_through(converter, keeps_ascii_, text, length, out, room);
}

Decoded_Length Multi_Byte_Page::decoded_length(const char* text, size_t size) const {
  std::unique_ptr<wchar_t[]> out;
  const size_t length =
      with_growing_room(size + 1, out, [&](wchar_t* to, size_t room) { return decode(text, size, to, room); });
  return {length, !has_raw_byte(out.get(), length)};
}

size_t Multi_Byte_Page::encoded_size(const wchar_t* text, size_t length) const {
  std::unique_ptr<char[]> out;
  return with_growing_room(4 * length + 16, out, [&](char* to, size_t room) { return encode(text, length, to, room); });
}

}  // namespace kelvane
