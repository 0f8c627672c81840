// Numbers as they are given on the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kvreg {

// Decimal, or hexadecimal with 0x; nothing else in the text. Null for anything else and for more than 64 bits.
std::optional<std::uint64_t> parse_number(std::string_view text);
// Octal digits only, at most `most`.
std::optional<std::uint32_t> parse_octal(std::string_view text, std::uint32_t most);

}  // namespace kvreg
