#include "tools/kvreg/reg_text/reader.h"

#include <algorithm>

#include "tools/kvreg/reg_text/cursor.h"
#include "tools/kvreg/reg_text/data_form.h"
#include "tools/kvreg/reg_text/hex.h"
#include "tools/kvreg/reg_text/reg_types.h"

namespace kvreg {
namespace {

constexpr char16_t end_of_old_files = 0x1A;  // Ctrl-Z

class Reader {
 public:
  Reader(std::u16string_view text, Reg_Visitor& visitor) : text_(text), visitor_(visitor) {}
  void read();

 private:
  void read_header();
  void read_statement();
  void read_key_line();
  void read_value();
  void read_data(const std::u16string& name);
  std::u16string read_quoted();
  void read_escape(std::u16string& out);
  std::uint32_t read_number(std::size_t most_digits);
  std::uint32_t read_type();
  std::string read_bytes();
  bool goes_on();
  void must_be(const std::string& refusal, std::size_t line);

  Cursor text_;
  Reg_Visitor& visitor_;
  Reg_Version version_ = Reg_Version::units;
  enum class Place { outside, in_key, in_deleted_key } place_ = Place::outside;
};

void Reader::must_be(const std::string& refusal, std::size_t line) {
  if (!refusal.empty()) Cursor::refuse_at(line, refusal);
}

void Reader::read() {
  read_header();
  while (!text_.at_end()) read_statement();
}

void Reader::read_header() {
  for (text_.skip_blanks(); text_.at_line_end() && !text_.at_end(); text_.skip_blanks()) text_.skip_line();
  if (text_.take_word(header_of_code_page)) {
    version_ = Reg_Version::code_page;
  } else if (!text_.take_word(header_of_units)) {
    text_.refuse(
        "this is no registry file: its first line is neither \"Windows Registry Editor Version 5.00\" nor "
        "\"REGEDIT4\"");
  }
  text_.finish_line();
}

void Reader::read_statement() {
  text_.skip_blanks();
  if (text_.at_line_end() || text_.here() == u';') {
    text_.skip_line();
  } else if (text_.here() == u'[') {
    read_key_line();
  } else if (text_.here() == u'"' || text_.here() == u'@') {
    read_value();
  } else if (text_.take(end_of_old_files)) {
    if (!text_.at_end()) text_.refuse("a control character");
  } else {
    text_.refuse("neither a key in brackets, nor a value that begins with a quote or @, nor a comment");
  }
}

// The bracket that ends the path is the last one of the line, or of what stands before a comment.
std::u16string_view path_between_brackets(std::u16string_view line) {
  std::size_t end = line.size();
  if (!line.ends_with(u']')) {
    const std::size_t comment = line.find(u';', line.find(u']'));
    end = comment == line.npos ? 0 : line.find_last_not_of(u" \t", comment - 1) + 1;
  }
  return end > 1 && line[end - 1] == u']' ? line.substr(1, end - 2) : std::u16string_view();
}

std::u16string unescaped_path(std::u16string_view written) {
  std::u16string path;
  for (std::size_t i = 0; i < written.size(); ++i) {
    // QUIRK reg-text-unit-escape: \\xHHHH; in a path is a unit; elsewhere a doubled backslash is a single one.
    const bool begins = written.substr(i).starts_with(u"\\\\x");
    const int unit = begins ? escaped_unit(written.substr(i + 3)) : -1;
    path.push_back(unit > 0 ? static_cast<char16_t>(unit) : written[i]);
    if (unit > 0) i += 2 + escaped_unit_size;
  }
  return path;
}

void Reader::read_key_line() {
  const std::size_t line = text_.line();
  std::u16string_view path = path_between_brackets(text_.take_rest_of_line());
  if (path.find(u'\0') != path.npos) text_.refuse("a NUL character");
  const bool is_deletion = path.starts_with(u'-');
  if (is_deletion) path.remove_prefix(1);
  if (path.empty()) text_.refuse("the key is empty, or its closing bracket is missing");
  const std::u16string whole = unescaped_path(path);
  must_be(is_deletion ? visitor_.delete_key(whole) : visitor_.open_key(whole), line);
  place_ = is_deletion ? Place::in_deleted_key : Place::in_key;
  text_.skip_line();
}

void Reader::read_value() {
  const std::size_t line = text_.line();
  if (place_ == Place::outside) text_.refuse("a value before the first key");
  if (place_ == Place::in_deleted_key) text_.refuse("a value of a key that is deleted");
  const std::u16string name = text_.take(u'@') ? std::u16string() : read_quoted();
  text_.skip_blanks();
  if (!text_.take(u'=')) text_.refuse("\"=\" is missing behind the name of the value");
  text_.skip_blanks();
  if (text_.take(u'-')) {
    text_.finish_line();
    must_be(visitor_.delete_value(name), line);
  } else {
    read_data(name);
  }
}

void Reader::read_data(const std::u16string& name) {
  const std::size_t line = text_.line();
  std::uint32_t type = REG_BINARY;
  std::string data;
  if (text_.here() == u'"') {
    type = REG_SZ;
    data = stored_of(read_quoted() + u'\0');
  } else if (text_.take_word(u"dword:")) {
    type = REG_DWORD;
    data = stored_number(read_number(8));
  } else if (text_.take_word(u"hex:")) {
    data = read_bytes();
  } else if (text_.take_word(u"hex(")) {
    type = read_type();
    data = stored_bytes(type, read_bytes(), version_);
  } else {
    text_.refuse("the data begins with neither a quote, nor dword:, hex: or hex(...):, nor -");
  }
  text_.finish_line();
  must_be(visitor_.set_value(name, type, data), line);
}

std::u16string Reader::read_quoted() {
  const std::size_t start = text_.line();
  std::u16string out;
  text_.step();
  while (!text_.take(u'"')) {
    if (text_.at_end()) Cursor::refuse_at(start, "the closing quote is missing");
    if (text_.here() == u'\0') text_.refuse("a NUL character");
    if (text_.take(u'\\')) {
      read_escape(out);
    } else {
      out.push_back(text_.here());
      text_.step();
    }
  }
  return out;
}

void Reader::read_escape(std::u16string& out) {
  const char16_t escaped = text_.here();
  if (escaped == u'\\' || escaped == u'"') {
    text_.step();
    out.push_back(escaped);
    return;
  }
  Cursor ahead = text_;
  std::u16string digits;
  if (ahead.take(u'x')) {
    while (digits.size() < escaped_unit_size && !ahead.at_line_end()) {
      digits.push_back(ahead.here());
      ahead.step();
    }
  }
  const int unit = escaped_unit(digits);
  if (unit <= 0) text_.refuse("a single backslash between quotes: it is written twice");
  out.push_back(static_cast<char16_t>(unit));
  text_ = ahead;
}

std::uint32_t Reader::read_number(std::size_t most_digits) {
  std::uint32_t number = 0;
  std::size_t digits = 0;
  for (int digit; (digit = hex_digit(text_.here())) >= 0; ++digits) {
    number = number << 4 | static_cast<std::uint32_t>(digit);
    text_.step();
  }
  if (digits == 0 || digits > most_digits) text_.refuse("a number has one to eight hexadecimal digits");
  return number;
}

std::uint32_t Reader::read_type() {
  const std::uint32_t type = read_number(8);
  if (!text_.take(u')') || !text_.take(u':')) text_.refuse("\"):\" is missing behind the number of the type");
  return type;
}

std::string Reader::read_bytes() {
  std::string bytes;
  for (;;) {
    text_.skip_blanks();
    int byte = hex_digit(text_.here());
    if (byte < 0 && !goes_on()) return bytes;
    if (byte < 0) continue;
    text_.step();
    if (const int low = hex_digit(text_.here()); low >= 0) {
      byte = byte << 4 | low;
      text_.step();
    }
    bytes.push_back(static_cast<char>(byte));
    text_.skip_blanks();
    if (!text_.take(u',') && !goes_on()) return bytes;
  }
}

// Whether the line ends with a backslash; the cursor is then in the next one.
bool Reader::goes_on() {
  if (!text_.take(u'\\')) return false;
  text_.skip_blanks();
  if (!text_.at_line_end()) text_.refuse("a backslash inside the bytes: it stands at the end of a line only");
  text_.skip_line();
  return true;
}

}  // namespace

std::optional<Wrong_Line> read_reg_text(const Decoded_Text& text, Reg_Visitor& visitor) {
  try {
    Reader(text.units, visitor).read();
  } catch (const Wrong_Text& wrong) {
    return Wrong_Line{wrong.line, wrong.what};
  }
  if (!text.ends_inside_unit) return std::nullopt;
  const auto lines = std::count(text.units.begin(), text.units.end(), u'\n') + 1;
  return Wrong_Line{static_cast<std::size_t>(lines), "the file ends in the middle of a character: it is cut"};
}

}  // namespace kvreg
