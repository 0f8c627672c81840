// Wide text in the tests of the wide fronts: a caller's room with marks in it, and text as it crosses the
// table.
#ifndef KELVANE_TESTS_REGISTRY_WIDE_TEXT_H
#define KELVANE_TESTS_REGISTRY_WIDE_TEXT_H

#include <windef.h>

#include <string>

namespace kvtest {

constexpr std::size_t marked_characters = 32;

// Room for characters, every one a mark until it is written.
struct Wide_Room {
  Wide_Room() {
    for (wchar_t& character : text) character = L'#';
  }
  BYTE* bytes() { return reinterpret_cast<BYTE*>(text); }
  std::wstring first(std::size_t count) const { return std::wstring(text, count); }
  bool untouched() const { return first(marked_characters) == std::wstring(marked_characters, L'#'); }

  wchar_t text[marked_characters];
};

// Text as the entries see and give it: two bytes a unit, the high one first.
inline std::string crossing(const std::u16string& text) {
  std::string bytes;
  for (char16_t unit : text) {
    bytes += static_cast<char>(unit >> 8);
    bytes += static_cast<char>(unit);
  }
  return bytes;
}

}  // namespace kvtest

#endif
