#include "tools/kvreg/reg_text/writer.h"

#include <cstdio>
#include <optional>

#include "tools/kvreg/reg_text/data_form.h"
#include "tools/kvreg/reg_text/units.h"

namespace kvreg {
namespace {

constexpr char16_t mark = 0xFEFF;
constexpr std::size_t piece_units = 128 * 1024;
constexpr std::size_t line_width = 77;  // without the backslash of a line that goes on
constexpr char16_t digits[] = u"0123456789abcdef";

bool is_control(char16_t unit) { return unit < 0x20 || unit == 0x7F; }
bool is_surrogate(char16_t unit) { return (unit & 0xF800) == 0xD800; }

std::string little_endian(std::u16string_view units) {
  std::string bytes(units.size() * sizeof(char16_t), '\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    bytes[2 * i] = static_cast<char>(units[i] & 0xFF);
    bytes[2 * i + 1] = static_cast<char>(units[i] >> 8);
  }
  return bytes;
}

std::u16string hex_word(const char* format, std::uint32_t number) {
  char text[32];
  const int length = std::snprintf(text, sizeof text, format, number);
  return std::u16string(text, text + length);
}

// A text with one terminator, at its end, without it.
std::optional<std::u16string> plain_text(std::string_view data) {
  if (data.size() % sizeof(char16_t) != 0) return std::nullopt;
  std::u16string text = units_of_stored(data);
  if (text.empty() || text.find(u'\0') != text.size() - 1) return std::nullopt;
  text.pop_back();
  return text;
}

std::u16string word_of_type(std::uint32_t type) { return type == REG_BINARY ? u"hex:" : hex_word("hex(%x):", type); }

}  // namespace

Reg_Writer::Reg_Writer(Reg_Version version, Sink sink) : version_(version), sink_(std::move(sink)) {
  if (version == Reg_Version::units) gathered_ += mark;
  gathered_ += version == Reg_Version::units ? header_of_units : header_of_code_page;
  end_line();
}

bool Reg_Writer::key(std::u16string_view path) {
  std::u16string line = u"[";
  for (const char16_t unit : path) {
    if (must_escape(unit)) {
      line += hex_word("\\\\x%04X;", unit);
    } else {
      line += unit;
    }
  }
  if (!is_told(line)) return false;
  end_line();
  gathered_ += line + u"]";
  end_line();
  return true;
}

bool Reg_Writer::value(std::u16string_view name, std::uint32_t type, std::string_view data) {
  const std::size_t start = gathered_.size();
  append_name(name);
  if (!is_told(std::u16string_view(gathered_).substr(start))) {
    gathered_.resize(start);
    return false;
  }
  const std::optional<std::u16string> text = type == REG_SZ ? plain_text(data) : std::nullopt;
  if (text && is_quotable(*text)) {
    append_quoted(*text);
  } else if (type == REG_DWORD && data.size() == sizeof(std::uint32_t)) {
    std::uint32_t number = 0;
    for (std::size_t i = data.size(); i-- > 0;) number = number << 8 | static_cast<unsigned char>(data[i]);
    gathered_ += hex_word("dword:%08x", number);
  } else if (const std::optional<std::string> bytes = file_bytes(type, data, version_)) {
    gathered_ += word_of_type(type);
    append_bytes(*bytes);
  } else {
    gathered_.resize(start);
    return false;
  }
  end_line();
  return true;
}

void Reg_Writer::finish() {
  end_line();
  flush();
}

void Reg_Writer::end_line() {
  gathered_ += u"\r\n";
  if (gathered_.size() >= piece_units) flush();
  line_start_ = gathered_.size();
}

void Reg_Writer::append_name(std::u16string_view name) {
  if (name.empty()) {
    gathered_ += u'@';
  } else {
    append_quoted(name);
  }
  gathered_ += u'=';
}

void Reg_Writer::append_quoted(std::u16string_view text) {
  gathered_ += u'"';
  for (const char16_t unit : text) {
    if (must_escape(unit)) {
      gathered_ += hex_word("\\x%04X;", unit);
      continue;
    }
    if (unit == u'\\' || unit == u'"') gathered_ += u'\\';
    gathered_ += unit;
  }
  gathered_ += u'"';
}

void Reg_Writer::append_bytes(std::string_view bytes) {
  std::size_t column = gathered_.size() - line_start_;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    gathered_ += digits[byte >> 4];
    gathered_ += digits[byte & 0xF];
    if (i + 1 == bytes.size()) break;
    gathered_ += u',';
    column += 3;
    if (column + 3 <= line_width) continue;
    gathered_ += u"\\\r\n  ";
    column = 2;
  }
}

bool Reg_Writer::must_escape(char16_t unit) const {
  return is_control(unit) || (version_ == Reg_Version::code_page && is_surrogate(unit));
}

bool Reg_Writer::is_quotable(std::u16string_view text) const {
  for (const char16_t unit : text)
    if (is_control(unit)) return false;
  return is_told(text);
}

bool Reg_Writer::is_told(std::u16string_view text) const {
  return version_ == Reg_Version::units || units_of(text_of(text)) == text;
}

void Reg_Writer::flush() {
  sink_(version_ == Reg_Version::units ? little_endian(gathered_) : text_of(gathered_));
  gathered_.clear();
}

}  // namespace kvreg
