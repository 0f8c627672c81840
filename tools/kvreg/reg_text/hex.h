// Hexadecimal digits.
#pragma once

namespace kvreg {

// The value of a digit in either case, or -1.
constexpr int hex_digit(char32_t character) {
  if (character >= U'0' && character <= U'9') return static_cast<int>(character - U'0');
  if (character >= U'a' && character <= U'f') return static_cast<int>(character - U'a') + 10;
  if (character >= U'A' && character <= U'F') return static_cast<int>(character - U'A') + 10;
  return -1;
}

}  // namespace kvreg
