#include "tools/kvreg/number.h"

#include <charconv>

namespace kvreg {
namespace {

template <class Number>
std::optional<Number> whole_number(std::string_view text, int base) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (error != std::errc{} || stop != end || text.empty()) return std::nullopt;
  return number;
}

}  // namespace

std::optional<std::uint64_t> parse_number(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) return whole_number<std::uint64_t>(text.substr(2), 16);
  return whole_number<std::uint64_t>(text, 10);
}

std::optional<std::uint32_t> parse_octal(std::string_view text, std::uint32_t most) {
  const auto number = whole_number<std::uint32_t>(text, 8);
  return number && *number <= most ? number : std::nullopt;
}

int hex_digit(char32_t character) {
  if (character >= U'0' && character <= U'9') return static_cast<int>(character - U'0');
  if (character >= U'a' && character <= U'f') return static_cast<int>(character - U'a') + 10;
  if (character >= U'A' && character <= U'F') return static_cast<int>(character - U'A') + 10;
  return -1;
}

}  // namespace kvreg
