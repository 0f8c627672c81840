#include "tools/kvreg/reg_text/decode.h"

#include <cstring>

#include "tools/kvreg/reg_text/reg_types.h"
#include "tools/kvreg/reg_text/units.h"

namespace kvreg {
namespace {

// Text is converted line by line in pieces of about this size: the wide form of a whole file would be four times it.
constexpr std::size_t piece_size = 1024 * 1024;

Decoded_Text from_utf16(std::string_view bytes, bool high_first) {
  Decoded_Text text;
  text.units.resize(bytes.size() / sizeof(char16_t));
  text.ends_inside_unit = bytes.size() % sizeof(char16_t) != 0;
  const int high = high_first ? 0 : 1;
  for (std::size_t i = 0; i < text.units.size(); ++i) {
    const auto at = [&](int which) {
      return static_cast<unsigned char>(bytes[2 * i + static_cast<std::size_t>(which)]);
    };
    text.units[i] = static_cast<char16_t>(at(high) << 8 | at(1 - high));
  }
  return text;
}

template <class Convert>
Decoded_Text from_lines(std::string_view bytes, Convert convert) {
  Decoded_Text text;
  while (!bytes.empty()) {
    const std::size_t end = bytes.size() > piece_size ? bytes.find('\n', piece_size) : bytes.npos;
    const std::string_view piece = bytes.substr(0, end == bytes.npos ? end : end + 1);
    text.units += convert(piece);
    bytes.remove_prefix(piece.size());
  }
  return text;
}

bool says_code_page(std::string_view bytes) {
  const std::size_t start = bytes.find_first_not_of(" \t\r\n");
  const std::string header = utf8_of(header_of_code_page);
  return start != bytes.npos && lower_case(bytes.substr(start, header.size())) == lower_case(header);
}

}  // namespace

Decoded_Text decode_reg_file(std::string_view bytes) {
  using namespace std::string_view_literals;
  if (bytes.starts_with("\xFF\xFE"sv)) return from_utf16(bytes.substr(2), false);
  if (bytes.starts_with("\xFE\xFF"sv)) return from_utf16(bytes.substr(2), true);
  if (bytes.size() >= 2 && bytes[0] != '\0' && bytes[1] == '\0') return from_utf16(bytes, false);
  if (bytes.size() >= 2 && bytes[0] == '\0' && bytes[1] != '\0') return from_utf16(bytes, true);
  if (bytes.starts_with("\xEF\xBB\xBF"sv)) return from_lines(bytes.substr(3), units_of_utf8);
  if (says_code_page(bytes)) return from_lines(bytes, [](std::string_view text) { return units_of(text); });
  return from_lines(bytes, units_of_utf8);
}

}  // namespace kvreg
