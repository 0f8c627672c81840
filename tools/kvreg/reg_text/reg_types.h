// What the text of a .reg file has to know of values: numbers of types and their form.
#pragma once

#include <winnt.h>

#include <cstdint>

namespace kvreg {

// Whether data of the type is stored as 16-bit units, high byte first.
constexpr bool is_stored_as_units(std::uint32_t type) {
  return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// Version 5 writes text as 16-bit units, version 4 in a code page.
enum class Reg_Version { code_page = 4, units = 5 };

inline constexpr char16_t header_of_units[] = u"Windows Registry Editor Version 5.00";
inline constexpr char16_t header_of_code_page[] = u"REGEDIT4";

}  // namespace kvreg
