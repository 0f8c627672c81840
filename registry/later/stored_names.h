// Names in their stored form: rooms, in WinChars with the terminator, and tests.
#pragma once

#include <kelvane/registry_table.h>

inline namespace kelvane {

inline constexpr DWORD key_name_room = 256 + 1;
inline constexpr DWORD value_name_room = 16383 + 1;

inline bool is_zero(WinChar unit) { return unit.high == 0 && unit.low == 0; }

inline bool names_stored_key(const WinChar* name) { return name != nullptr && !is_zero(*name); }

}  // namespace kelvane
