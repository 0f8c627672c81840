// The data of values between its stored form and the bytes of a .reg file. Stored text is 16-bit units with the high
// byte first; all other data is the same everywhere.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/kvreg/reg_text/reg_types.h"

namespace kvreg {

// Stored units, and back without an odd last byte.
std::string stored_of(std::u16string_view units);
std::u16string units_of_stored(std::string_view data);
// A REG_DWORD.
std::string stored_number(std::uint32_t number);

// What the bytes of hex(type): are in the registry, which stores whole units: an odd byte behind the last one is left
// out.
std::string stored_bytes(std::uint32_t type, std::string_view bytes, Reg_Version version);
// The other way; none when the code page of version 4 cannot tell the data exactly, or text is no whole units.
std::optional<std::string> file_bytes(std::uint32_t type, std::string_view data, Reg_Version version);

}  // namespace kvreg
