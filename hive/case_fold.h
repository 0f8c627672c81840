// Names that differ only in case are one name. Each 16-bit unit is compared as its simple uppercase; units
// outside ASCII never meet ASCII ones, and units beyond the first 65,536 characters are compared as they are.
// The mapping is part of the stored form: it never changes.
#pragma once

#include <string>
#include <string_view>

namespace hive {

char16_t fold_case_beyond_ascii(char16_t unit);

inline char16_t fold_case(char16_t unit) {
  if (unit >= u'a' && unit <= u'z') return static_cast<char16_t>(unit - (u'a' - u'A'));
  return unit < 0x80 ? unit : fold_case_beyond_ascii(unit);
}

std::u16string fold_case(std::u16string_view name);

}  // namespace hive
