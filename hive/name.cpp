#include "hive/name.h"

#include <algorithm>
#include <cstdint>

#include "hive/case_fold.h"

namespace hive {
namespace {

constexpr char16_t separator = u'\\';

bool is_high(std::uint32_t unit) { return (unit & 0xFC00) == 0xD800; }

bool is_low(std::uint32_t unit) { return (unit & 0xFC00) == 0xDC00; }

void append_tail(std::string& out, std::uint32_t code, int bytes) {
  while (bytes-- > 0) out.push_back(static_cast<char>(0x80 | ((code >> (6 * bytes)) & 0x3F)));
}

void append_code(std::string& out, std::uint32_t code) {
  if (code < 0x80) {
    out.push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (code >> 6)));
    append_tail(out, code, 1);
  } else if (code < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (code >> 12)));
    append_tail(out, code, 2);
  } else {
    out.push_back(static_cast<char>(0xF0 | (code >> 18)));
    append_tail(out, code, 3);
  }
}

template <typename Map>
std::string encode(std::u16string_view units, Map map) {
  std::string out;
  out.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    std::uint32_t code = map(units[i]);
    if (is_high(code) && i + 1 < units.size() && is_low(units[i + 1])) {
      code = 0x10000 + ((code - 0xD800) << 10) + (units[++i] - 0xDC00u);
    }
    append_code(out, code);
  }
  return out;
}

// Bytes that a first byte announces after itself; -1 for a byte that starts no character.
int tail_size(unsigned char first) {
  if (first < 0x80) return 0;
  if ((first & 0xE0) == 0xC0) return 1;
  if ((first & 0xF0) == 0xE0) return 2;
  if ((first & 0xF8) == 0xF0) return 3;
  return -1;
}

// Takes one character off the front.
std::uint32_t take_code(std::string_view& stored) {
  constexpr std::uint32_t replacement = 0xFFFD;
  unsigned char first = static_cast<unsigned char>(stored.front());
  int tail = tail_size(first);
  stored.remove_prefix(1);
  if (tail < 0 || stored.size() < static_cast<std::size_t>(tail)) return replacement;
  std::uint32_t code = tail == 0 ? first : first & (0x3Fu >> tail);
  for (int i = 0; i < tail; ++i) {
    unsigned char byte = static_cast<unsigned char>(stored[static_cast<std::size_t>(i)]);
    if ((byte & 0xC0) != 0x80) return replacement;
    code = (code << 6) | (byte & 0x3Fu);
  }
  stored.remove_prefix(static_cast<std::size_t>(tail));
  return code <= 0x10FFFF ? code : replacement;
}

}  // namespace

std::string stored_form(std::u16string_view units) {
  return encode(units, [](char16_t unit) { return unit; });
}

std::string folded_form(std::u16string_view units) {
  return encode(units, [](char16_t unit) { return fold_case(unit); });
}

void append_units(std::string_view stored, std::u16string& units) {
  while (!stored.empty()) {
    std::uint32_t code = take_code(stored);
    if (code < 0x10000) {
      units.push_back(static_cast<char16_t>(code));
    } else {
      units.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
      units.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
    }
  }
}

std::u16string units_of(std::string_view stored) {
  std::u16string units;
  units.reserve(stored.size());
  append_units(stored, units);
  return units;
}

std::size_t count_units(std::string_view stored) {
  std::size_t count = 0;
  while (!stored.empty()) count += take_code(stored) < 0x10000 ? 1 : 2;
  return count;
}

std::u16string_view Path_Parts::next() {
  std::u16string_view part = rest_.substr(0, rest_.find(separator));
  rest_.remove_prefix(part.size());
  skip_separators();
  return part;
}

void Path_Parts::skip_separators() { rest_.remove_prefix(std::min(rest_.find_first_not_of(separator), rest_.size())); }

}  // namespace hive
