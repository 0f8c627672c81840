#include "tools/kvreg/wide.h"

namespace kvreg {

std::wstring wide_of(std::u16string_view units) { return std::wstring(units.begin(), units.end()); }

std::u16string units_of(const wchar_t* text) {
  std::u16string units;
  for (; *text != L'\0'; ++text) units.push_back(static_cast<char16_t>(*text));
  return units;
}

}  // namespace kvreg
