#include "tools/kvreg/reg_text/units.h"

#include <kelvane/text.h>

#include <algorithm>

namespace kvreg {
namespace {

bool is_high(char32_t unit) { return (unit & 0xFFFFFC00u) == 0xD800; }
bool is_low(char32_t unit) { return (unit & 0xFFFFFC00u) == 0xDC00; }

void append_code(std::u16string& out, char32_t code) {
  if (code < 0x10000) {
    out.push_back(static_cast<char16_t>(code));
  } else {
    out.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
  }
}

// Takes one character off the front of units that are not empty; a lone surrogate is one.
char32_t take_code(std::u16string_view& units) {
  char32_t code = units.front();
  units.remove_prefix(1);
  if (is_high(code) && !units.empty() && is_low(units.front())) {
    code = 0x10000 + ((code - 0xD800) << 10) + (units.front() - 0xDC00u);
    units.remove_prefix(1);
  }
  return code;
}

void append_tail(std::string& out, char32_t code, int bytes) {
  while (bytes-- > 0) out.push_back(static_cast<char>(0x80 | ((code >> (6 * bytes)) & 0x3F)));
}

void append_utf8(std::string& out, char32_t code) {
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

// Bytes that follow the first of a character; -1 for a byte that begins none.
int tail_size(unsigned char first) {
  if (first < 0x80) return 0;
  if (first >= 0xC2 && first < 0xE0) return 1;
  if (first >= 0xE0 && first < 0xF0) return 2;
  return first >= 0xF0 && first < 0xF5 ? 3 : -1;
}

// The character of tail + 1 bytes at the front; 0x110000 when they are none, or have a shorter form.
char32_t code_at(std::string_view text, int tail) {
  constexpr char32_t none = 0x110000;
  constexpr char32_t smallest[] = {0, 0x80, 0x800, 0x10000};
  char32_t code = static_cast<unsigned char>(text[0]) & (tail == 0 ? 0x7Fu : 0x3Fu >> tail);
  for (int i = 1; i <= tail; ++i) {
    const auto byte = static_cast<unsigned char>(text[static_cast<std::size_t>(i)]);
    if ((byte & 0xC0) != 0x80) return none;
    code = code << 6 | (byte & 0x3Fu);
  }
  return code < smallest[tail] || code > none ? none : code;
}

template <class Text>
Text with_lower_case(const Text& text) {
  Text lower = text;
  for (auto& each : lower)
    if (each >= 'A' && each <= 'Z') each = static_cast<typename Text::value_type>(each - 'A' + 'a');
  return lower;
}

}  // namespace

std::u16string units_of(std::string_view text) {
  const KvUnicodeStringWithLength wide(text.data(), static_cast<int>(text.size()));
  std::u16string units;
  units.reserve(static_cast<std::size_t>(wide.length()));
  for (int i = 0; i < wide.length(); ++i) append_code(units, static_cast<char32_t>(wide.text()[i]));
  return units;
}

std::string text_of(std::u16string_view units) {
  std::wstring wide;
  wide.reserve(units.size());
  while (!units.empty()) wide.push_back(static_cast<wchar_t>(take_code(units)));
  const KvAnsiStringWithLength text(wide.data(), static_cast<int>(wide.size()));
  return std::string(text.text(), static_cast<std::size_t>(text.size()));
}

std::u16string units_of_utf8(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text.front());
    const int tail = tail_size(first);
    const bool is_whole = tail >= 0 && text.size() > static_cast<std::size_t>(tail);
    const char32_t code = is_whole ? code_at(text, tail) : 0x110000;
    const bool is_character = code < 0x110000;
    append_code(units, is_character ? code : 0xDC00u + first);
    text.remove_prefix(is_character ? static_cast<std::size_t>(tail) + 1 : 1);
  }
  return units;
}

std::string utf8_of(std::u16string_view units) {
  std::string text;
  text.reserve(units.size());
  while (!units.empty()) append_utf8(text, take_code(units));
  return text;
}

bool is_unicode(std::u16string_view units) {
  while (!units.empty()) {
    const char32_t code = take_code(units);
    if (is_high(code) || is_low(code)) return false;
  }
  return true;
}

std::string lower_case(std::string_view text) { return with_lower_case(std::string(text)); }
std::u16string lower_case(std::u16string_view units) { return with_lower_case(std::u16string(units)); }

}  // namespace kvreg
