// Types of values by name.
#pragma once

#include <windef.h>

#include <optional>
#include <string>
#include <string_view>

namespace kvreg {

// "REG_SZ"; "0x4711" for a number without a name.
std::string name_of_type(DWORD type);
// A name in any case, with or without "REG_", or a number.
std::optional<DWORD> type_of_name(std::string_view name);
// A name or number of a type; throws Bad_Arguments for anything else.
DWORD parse_type(std::string_view name);
// Whether data of the type is stored as 16-bit units.
bool is_text(DWORD type);

}  // namespace kvreg
