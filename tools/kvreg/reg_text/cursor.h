// A place in the text of a .reg file, with the number of its line.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kvreg {

// Thrown and caught inside the reader.
struct Wrong_Text {
  std::size_t line;
  std::string what;
};

class Cursor {
 public:
  explicit Cursor(std::u16string_view text) : text_(text) {}

  bool at_end() const { return at_ == text_.size(); }
  std::size_t line() const { return line_; }
  // The unit here, or 0 at the end of the text.
  char16_t here() const { return at_ < text_.size() ? text_[at_] : u'\0'; }
  // At the end of the text, or at LF or CR LF.
  bool at_line_end() const;

  // Over one unit, which is there.
  void step() {
    if (text_[at_++] == u'\n') ++line_;
  }
  // Passes over the unit when it stands here.
  bool take(char16_t unit);
  // Passes over the word, in either case of ASCII letters, when it stands here.
  bool take_word(std::u16string_view word);
  void skip_blanks();
  void skip_line();
  // From here to the end of the line, without the blanks before it; goes there.
  std::u16string_view take_rest_of_line();
  // Over blanks and a comment to the next line; refuses anything else.
  void finish_line();

  [[noreturn]] void refuse(std::string what) const { refuse_at(line_, std::move(what)); }
  [[noreturn]] static void refuse_at(std::size_t line, std::string what) { throw Wrong_Text{line, std::move(what)}; }

 private:
  std::u16string_view text_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
};

// The unit of "HHHH;" at the start of the text, or -1.
int escaped_unit(std::u16string_view text);
inline constexpr std::size_t escaped_unit_size = 5;

}  // namespace kvreg
