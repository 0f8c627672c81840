#include "tools/kvreg/reg_text/data_form.h"

#include <utility>

#include "tools/kvreg/reg_text/units.h"

namespace kvreg {
namespace {

std::string swapped(std::string_view bytes) {
  std::string other(bytes);
  for (std::size_t i = 0; i + 1 < other.size(); i += 2) std::swap(other[i], other[i + 1]);
  return other;
}

}  // namespace

std::string stored_of(std::u16string_view units) {
  std::string data(units.size() * sizeof(char16_t), '\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    data[2 * i] = static_cast<char>(units[i] >> 8);
    data[2 * i + 1] = static_cast<char>(units[i] & 0xFF);
  }
  return data;
}

std::u16string units_of_stored(std::string_view data) {
  std::u16string units(data.size() / sizeof(char16_t), u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto high = static_cast<unsigned char>(data[2 * i]), low = static_cast<unsigned char>(data[2 * i + 1]);
    units[i] = static_cast<char16_t>(high << 8 | low);
  }
  return units;
}

std::string stored_number(std::uint32_t number) {
  std::string data;
  for (int i = 0; i < 4; ++i, number >>= 8) data.push_back(static_cast<char>(number & 0xFF));
  return data;
}

std::string stored_bytes(std::uint32_t type, std::string_view bytes, Reg_Version version) {
  if (!is_stored_as_units(type)) return std::string(bytes);
  const std::string_view whole = bytes.substr(0, bytes.size() / sizeof(char16_t) * sizeof(char16_t));
  return version == Reg_Version::units ? swapped(whole) : stored_of(units_of(bytes));
}

std::optional<std::string> file_bytes(std::uint32_t type, std::string_view data, Reg_Version version) {
  if (!is_stored_as_units(type)) return std::string(data);
  if (data.size() % sizeof(char16_t) != 0) return std::nullopt;
  if (version == Reg_Version::units) return swapped(data);
  std::string bytes = text_of(units_of_stored(data));
  if (stored_of(units_of(bytes)) != data) return std::nullopt;
  return bytes;
}

}  // namespace kvreg
