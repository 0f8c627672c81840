#include "tools/kvreg/reg_text/cursor.h"

#include <algorithm>

#include "tools/kvreg/reg_text/hex.h"

namespace kvreg {
namespace {

constexpr std::u16string_view blanks = u" \t";

char16_t lower(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

}  // namespace

bool Cursor::at_line_end() const {
  if (at_end() || text_[at_] == u'\n') return true;
  return text_[at_] == u'\r' && (at_ + 1 == text_.size() || text_[at_ + 1] == u'\n');
}

bool Cursor::take(char16_t unit) {
  if (at_end() || text_[at_] != unit) return false;
  step();
  return true;
}

bool Cursor::take_word(std::u16string_view word) {
  if (text_.size() - at_ < word.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i)
    if (lower(text_[at_ + i]) != lower(word[i])) return false;
  at_ += word.size();
  return true;
}

void Cursor::skip_blanks() {
  while (!at_end() && blanks.find(text_[at_]) != blanks.npos) ++at_;
}

void Cursor::skip_line() {
  const std::size_t end = text_.find(u'\n', at_);
  at_ = end == text_.npos ? text_.size() : end + 1;
  if (end != text_.npos) ++line_;
}

std::u16string_view Cursor::take_rest_of_line() {
  const std::size_t end = std::min(text_.find(u'\n', at_), text_.size());
  std::u16string_view rest = text_.substr(at_, end - at_);
  at_ = end;
  if (rest.ends_with(u'\r')) rest.remove_suffix(1);
  while (!rest.empty() && blanks.find(rest.back()) != blanks.npos) rest.remove_suffix(1);
  return rest;
}

void Cursor::finish_line() {
  skip_blanks();
  if (!at_line_end() && here() != u';') refuse("there is something behind the end of the statement");
  skip_line();
}

int escaped_unit(std::u16string_view text) {
  if (text.size() < escaped_unit_size || text[4] != u';') return -1;
  int unit = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const int digit = hex_digit(text[i]);
    if (digit < 0) return -1;
    unit = unit << 4 | digit;
  }
  return unit;
}

}  // namespace kvreg
