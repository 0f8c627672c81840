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

}  // namespace kvreg
