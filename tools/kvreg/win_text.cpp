#include "tools/kvreg/win_text.h"

namespace kvreg {

Win_Text::Win_Text(std::u16string_view units) {
  text_.reserve(units.size() + 1);
  for (const char16_t unit : units)
    text_.push_back({static_cast<unsigned char>(unit >> 8), static_cast<unsigned char>(unit & 0xFF)});
  text_.push_back({0, 0});
}

std::u16string units_of(const WinChar* text, std::size_t count) {
  std::u16string units(count, u'\0');
  for (std::size_t i = 0; i < count; ++i) units[i] = static_cast<char16_t>(text[i].high << 8 | text[i].low);
  return units;
}

}  // namespace kvreg
