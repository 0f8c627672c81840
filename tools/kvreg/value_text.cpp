#include "tools/kvreg/value_text.h"

#include <winnt.h>

#include <cstdio>
#include <optional>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/number.h"
#include "tools/kvreg/reg_text/data_form.h"
#include "tools/kvreg/reg_text/hex.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/value_type.h"

namespace kvreg {
namespace {

std::u16string without_terminators(std::u16string text) {
  while (!text.empty() && text.back() == u'\0') text.pop_back();
  return text;
}

std::u16string joined(const std::vector<std::u16string>& texts, std::u16string_view separator) {
  std::u16string all;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) all += separator;
    all += texts[i];
  }
  return all;
}

std::uint64_t number_of(std::string_view data, bool is_big_endian) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < data.size(); ++i) {
    const std::size_t at = is_big_endian ? i : data.size() - 1 - i;
    number = number << 8 | static_cast<unsigned char>(data[at]);
  }
  return number;
}

std::string data_of_number(std::uint64_t number, std::size_t size, bool is_big_endian) {
  std::string data(size, '\0');
  for (std::size_t i = 0; i < size; ++i, number >>= 8) {
    data[is_big_endian ? size - 1 - i : i] = static_cast<char>(number & 0xFF);
  }
  return data;
}

// Bytes of a number of the type; 0 for a type that is none.
std::size_t size_of_number(DWORD type) {
  if (type == REG_DWORD || type == REG_DWORD_BIG_ENDIAN) return sizeof(DWORD);
  return type == REG_QWORD ? sizeof(std::uint64_t) : 0;
}

std::string hex_number(std::uint64_t number) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(number));
  return text;
}

std::string parse_number_data(DWORD type, std::u16string_view text) {
  const std::size_t size = size_of_number(type);
  const std::uint64_t most = size == sizeof(DWORD) ? 0xFFFFFFFFu : ~std::uint64_t{0};
  const std::optional<std::uint64_t> number = text.empty() ? 0 : parse_number(utf8_of(text));
  if (!number || *number > most)
    throw Bad_Arguments("\"" + shown(text) + "\" is no number for " + name_of_type(type) + ": decimal, or with 0x");
  return data_of_number(*number, size, type == REG_DWORD_BIG_ENDIAN);
}

std::string parse_bytes(std::u16string_view text) {
  std::string data;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    const int high = hex_digit(text[i]), low = hex_digit(text[i + 1]);
    if (high < 0 || low < 0) break;
    data.push_back(static_cast<char>(high << 4 | low));
  }
  if (data.size() * 2 != text.size())
    throw Bad_Arguments("\"" + shown(text) + "\" is not made of hexadecimal digits, two a byte");
  return data;
}

std::vector<std::u16string> split(std::u16string_view text, std::u16string_view separator) {
  std::vector<std::u16string> parts;
  for (;;) {
    const std::size_t end = separator.empty() ? text.npos : text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == text.npos) break;
    text.remove_prefix(end + separator.size());
  }
  while (!parts.empty() && parts.back().empty()) parts.pop_back();
  for (const std::u16string& part : parts)
    if (part.empty()) throw Bad_Arguments("a list of texts cannot have an empty one in the middle");
  return parts;
}

}  // namespace

std::u16string data_units(const Value& value, std::u16string_view separator) {
  if (value.type == REG_MULTI_SZ) return joined(texts_of(value.data), separator);
  if (is_text(value.type)) return without_terminators(units_of_stored(value.data));
  if (!value.data.empty() && value.data.size() == size_of_number(value.type))
    return units_of_utf8(hex_number(number_of(value.data, value.type == REG_DWORD_BIG_ENDIAN)));
  return units_of_utf8(hex_of(value.data));
}

std::string shown_data(const Value& value, std::u16string_view separator) {
  return shown(data_units(value, separator));
}

std::string shown_name(const Value& value) { return value.name.empty() ? "(Default)" : shown(value.name); }

std::vector<std::u16string> texts_of(std::string_view data) {
  const std::u16string all = without_terminators(units_of_stored(data));
  std::vector<std::u16string> texts;
  if (all.empty()) return texts;
  for (std::size_t start = 0; start <= all.size();) {
    const std::size_t end = std::min(all.find(u'\0', start), all.size());
    texts.push_back(all.substr(start, end - start));
    start = end + 1;
  }
  return texts;
}

std::string stored_texts(const std::vector<std::u16string>& texts) {
  std::u16string all;
  for (const std::u16string& text : texts) all += text + u'\0';
  return stored_of(all + u'\0');
}

std::string stored_text(std::u16string_view text) { return stored_of(std::u16string(text) + u'\0'); }

std::string data_of_text(DWORD type, std::u16string_view text, std::u16string_view separator) {
  if (type == REG_MULTI_SZ) return stored_texts(split(text, separator));
  if (is_text(type)) return stored_text(text);
  return size_of_number(type) != 0 ? parse_number_data(type, text) : parse_bytes(text);
}

std::string hex_of(std::string_view data) {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string hex;
  hex.reserve(data.size() * 2);
  for (const char each : data) {
    const auto byte = static_cast<unsigned char>(each);
    hex.push_back(digits[byte >> 4]);
    hex.push_back(digits[byte & 0xF]);
  }
  return hex;
}

}  // namespace kvreg
