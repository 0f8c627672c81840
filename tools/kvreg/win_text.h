// 16-bit units as they cross the table.
#pragma once

#include <kelvane/registry_table.h>

#include <string>
#include <string_view>
#include <vector>

namespace kvreg {

// A terminated copy of units.
class Win_Text {
 public:
  explicit Win_Text(std::u16string_view units);
  operator const WinChar*() const { return text_.data(); }

 private:
  std::vector<WinChar> text_;
};

std::u16string units_of(const WinChar* text, std::size_t count);

}  // namespace kvreg
