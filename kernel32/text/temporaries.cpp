// The text temporaries. A conversion is tried into the object's own room first; only when it does not fit is
// it measured and made in a block of its own.
#include <kelvane/text.h>

#include <climits>
#include <memory>
#include <new>

#include "kernel32/text/code_page.h"

inline namespace kelvane {
namespace {

constexpr size_t inline_characters = 2048;
constexpr size_t most_bytes = 4; /* of one character */

size_t non_negative(int length) { return length < 0 ? 0 : static_cast<size_t>(length); }

// The length as the objects tell it, with the terminator still to come.
int checked_length(size_t length) {
  if (length >= INT_MAX) throw std::bad_alloc();
  return static_cast<int>(length);
}

int length_of(const wchar_t* text, int length) {
  if (text == nullptr) return 0;
  return length == -1 ? checked_length(wcslen(text)) : length;
}

wchar_t* decode_on_heap(const Code_Page& page, const char* text, size_t size, size_t& length) {
  const size_t needed = page.decoded_length(text, size).length;
  checked_length(needed);
  std::unique_ptr<wchar_t[]> block(new wchar_t[needed + 1]);
  length = page.decode(text, size, block.get(), needed);
  return block.release();
}

char* encode_on_heap(const Code_Page& page, const wchar_t* text, size_t length, size_t& size) {
  const size_t needed = page.encoded_size(text, length);
  checked_length(needed);
  std::unique_ptr<char[]> block(new char[needed + 1]);
  size = page.encode(text, length, block.get(), needed);
  return block.release();
}

}  // namespace

KvUnicodeStringWithLength::KvUnicodeStringWithLength(const char* text, int length) : text_(nullptr), length_(0) {
  if (text == nullptr) return;
  const Code_Page& page = environment_code_page();
  const size_t size = non_negative(length);
  const bool may_fit = size <= most_bytes * inline_characters;
  size_t decoded = may_fit ? page.decode(text, size, inline_, inline_characters) : does_not_fit;
  text_ = decoded == does_not_fit ? decode_on_heap(page, text, size, decoded) : inline_;
  text_[decoded] = L'\0';
  length_ = static_cast<int>(decoded);
}

KvUnicodeStringWithLength::~KvUnicodeStringWithLength() {
  if (text_ != inline_) delete[] text_;
}

KvAnsiStringWithLength::KvAnsiStringWithLength(const wchar_t* text, int length) : text_(nullptr), size_(0) {
  if (text == nullptr) return;
  const Code_Page& page = environment_code_page();
  const size_t count = non_negative(length);
  const bool may_fit = count <= most_bytes * inline_characters;
  size_t encoded = may_fit ? page.encode(text, count, inline_, most_bytes * inline_characters) : does_not_fit;
  text_ = encoded == does_not_fit ? encode_on_heap(page, text, count, encoded) : inline_;
  text_[encoded] = '\0';
  size_ = static_cast<int>(encoded);
}

KvAnsiStringWithLength::~KvAnsiStringWithLength() {
  if (text_ != inline_) delete[] text_;
}

KvAnsiString::KvAnsiString(const wchar_t* text, int length) : converted_(text, length_of(text, length)) {}

}  // namespace kelvane

int KvCodePageKeepsAscii() { return environment_code_page().keeps_ascii() ? 1 : 0; }
