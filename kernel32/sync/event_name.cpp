// The name in UTF-8, with "/", "\", ".", "%" and control characters as "%" and two hexadecimal digits. What is longer
// than a file name may be is cut into pieces, each but the last a folder.
#include "kernel32/sync/event_name.h"

#include <vector>

#include "kernel32/text/utf8.h"

namespace {

constexpr size_t piece_size = 240;

bool must_be_escaped(char byte) {
  const auto code = static_cast<unsigned char>(byte);
  return code < 0x20 || code == 0x7F || byte == '/' || byte == '\\' || byte == '.' || byte == '%';
}

std::string escaped(const char* text, size_t size) {
  constexpr char digits[] = "0123456789abcdef";
  std::string result;
  for (size_t i = 0; i < size; ++i) {
    if (!must_be_escaped(text[i])) {
      result += text[i];
      continue;
    }
    const auto code = static_cast<unsigned char>(text[i]);
    result.append(1, '%').append(1, digits[code >> 4]).append(1, digits[code & 0xF]);
  }
  return result;
}

}  // namespace

std::string kelvane::event_path(const wchar_t* name, size_t length) {
  const Utf8_Page utf8;
  std::vector<char> encoded(utf8.encoded_size(name, length));
  const std::string whole = escaped(encoded.data(), utf8.encode(name, length, encoded.data(), encoded.size()));
  std::string path;
  size_t at = 0;
  for (; whole.size() - at > piece_size; at += piece_size) path.append(whole, at, piece_size).append("%/");
  return path.append(whole, at);
}
