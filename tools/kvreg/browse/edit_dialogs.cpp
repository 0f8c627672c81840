// The dialogs that edit: a line, several lines, bytes.

#include <algorithm>
#include <cstdio>

#include "tools/kvreg/browse/dialog.h"
#include "tools/kvreg/reg_text/hex.h"

namespace kvreg {
namespace {

constexpr int inside_columns = 72;
constexpr std::size_t bytes_a_row = 16;
constexpr int digits_column = 10, letters_column = digits_column + 3 * static_cast<int>(bytes_a_row) + 1;
constexpr char keys_of_a_number[] = "4 hexadecimal digits stand for the unit";

std::u16string units_of_character(char32_t character) {
  if (character < 0x10000) return std::u16string(1, static_cast<char16_t>(character));
  const char32_t rest = character - 0x10000;
  return {static_cast<char16_t>(0xD800 + (rest >> 10)), static_cast<char16_t>(0xDC00 + (rest & 0x3FF))};
}

// What both dialogs of text do with a key in one line. False for a key that is none of these.
bool edit_line(Line_Edit& line, const Input& input) {
  switch (input.code) {
    case Key_Code::character:
      line.insert(units_of_character(input.character));
      return true;
    case Key_Code::home:
      line.to_start();
      return true;
    case Key_Code::end:
      line.to_end();
      return true;
    case Key_Code::erase_line:
      line.erase_to_start();
      return true;
    default:
      return false;
  }
}

// True when the key belongs to a unit that is given by its number, which is put in the line when it is complete.
bool take_by_number(Unit_By_Number& by_number, Line_Edit& line, const Input& input) {
  if (by_number.is_collecting()) {
    const int unit = by_number.take(input);
    if (unit >= 0) line.insert(std::u16string(1, static_cast<char16_t>(unit)));
    return true;
  }
  if (input.code != Key_Code::by_number) return false;
  by_number.begin();
  return true;
}

void put_line_edit(Screen& screen, int row, int column, int columns, const Line_Edit& line) {
  screen.put(row, column, columns, line.view(columns).cells);
}

}  // namespace

Line_Dialog::Line_Dialog(std::string title, std::string about, std::u16string text)
    : title_(std::move(title)), about_(std::move(about)), line_(std::move(text)) {}

void Line_Dialog::draw(Screen& screen) {
  const Inside inside = put_frame(screen, 5, inside_columns, title_);
  screen.put_text(inside.row, inside.column, inside.columns, about_);
  put_line_edit(screen, inside.row + 2, inside.column, inside.columns, line_);
  put_last_row(
      screen, inside,
      by_number_.is_collecting() ? keys_of_a_number : "Enter keeps it   Esc gives up   Ctrl-K a unit by its number");
  screen.put_cursor(inside.row + 2, inside.column + line_.view(inside.columns).cursor_column);
}

bool Line_Dialog::take(const Input& input) {
  forget_error();
  if (take_by_number(by_number_, line_, input) || edit_line(line_, input)) return false;
  switch (input.code) {
    case Key_Code::enter:
    case Key_Code::keep:
      return keep();
    case Key_Code::escape:
      return drop();
    case Key_Code::left:
      line_.left();
      return false;
    case Key_Code::right:
      line_.right();
      return false;
    case Key_Code::backspace:
      line_.erase_before();
      return false;
    case Key_Code::erase:
      line_.erase_here();
      return false;
    default:
      return false;
  }
}

void Texts_Dialog::draw(Screen& screen) {
  const Inside inside = put_frame(screen, screen.rows() - 6, inside_columns, title_);
  const auto shown = static_cast<std::size_t>(std::max(inside.rows - 1, 1));
  first_ = std::min(first_, texts_.row());
  if (texts_.row() >= first_ + shown) first_ = texts_.row() - shown + 1;
  for (std::size_t i = 0; i < shown && first_ + i < texts_.lines().size(); ++i)
    put_line_edit(screen, inside.row + static_cast<int>(i), inside.column, inside.columns, texts_.lines()[first_ + i]);
  put_last_row(screen, inside,
               by_number_.is_collecting() ? keys_of_a_number
                                          : "a text a line   F2 or Ctrl-D keeps them   Esc gives up   Ctrl-K a unit");
  screen.put_cursor(inside.row + static_cast<int>(texts_.row() - first_),
                    inside.column + texts_.line().view(inside.columns).cursor_column);
}

bool Texts_Dialog::take(const Input& input) {
  forget_error();
  if (take_by_number(by_number_, texts_.line(), input) || edit_line(texts_.line(), input)) return false;
  if (input.code == Key_Code::keep) return keep();
  if (input.code == Key_Code::escape) return drop();
  edit(input);
  return false;
}

void Texts_Dialog::edit(const Input& input) {
  constexpr std::size_t page = 10;
  switch (input.code) {
    case Key_Code::enter:
      return texts_.new_line();
    case Key_Code::backspace:
      return texts_.erase_before();
    case Key_Code::erase:
      return texts_.erase_here();
    case Key_Code::left:
      return texts_.left();
    case Key_Code::right:
      return texts_.right();
    case Key_Code::up:
      return texts_.up();
    case Key_Code::down:
      return texts_.down();
    case Key_Code::page_up:
      return texts_.up(page);
    case Key_Code::page_down:
      return texts_.down(page);
    default:
      return;
  }
}

void Bytes_Dialog::draw(Screen& screen) {
  const Inside inside = put_frame(screen, screen.rows() - 6, inside_columns + 4, title_);
  shown_rows_ = std::max(inside.rows - 1, 1);
  const std::size_t row = bytes_.cursor() / bytes_a_row;
  first_row_ = std::min(first_row_, row);
  if (row >= first_row_ + static_cast<std::size_t>(shown_rows_))
    first_row_ = row - static_cast<std::size_t>(shown_rows_) + 1;
  for (int i = 0; i < shown_rows_; ++i)
    put_row(screen, inside.row + i, inside.column, (first_row_ + static_cast<std::size_t>(i)) * bytes_a_row);
  put_last_row(screen, inside, "digits change   Ins a byte   Del, Backspace   F2 or Ctrl-D keeps   Esc gives up");
  screen.put_cursor(inside.row + static_cast<int>(row - first_row_),
                    inside.column + digits_column + 3 * static_cast<int>(bytes_.cursor() % bytes_a_row) +
                        (bytes_.is_inside() ? 1 : 0));
}

// "00000010  41 42 .. 5A  AB..Z"
void Bytes_Dialog::put_row(Screen& screen, int row, int column, std::size_t start) const {
  const std::string& bytes = bytes_.bytes();
  if (start > bytes.size() || (start == bytes.size() && start > 0 && bytes_.cursor() < start)) return;
  char text[16];
  std::snprintf(text, sizeof text, "%08zX", start);
  screen.put_text(row, column, digits_column, text, Look::faint);
  for (std::size_t i = 0; i < bytes_a_row && start + i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[start + i]);
    std::snprintf(text, sizeof text, "%02X", byte);
    screen.put_text(row, column + digits_column + 3 * static_cast<int>(i), 2, text);
    const char letter[] = {byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.', '\0'};
    screen.put_text(row, column + letters_column + static_cast<int>(i), 1, letter, Look::faint);
  }
}

bool Bytes_Dialog::take(const Input& input) {
  forget_error();
  switch (input.code) {
    case Key_Code::enter:
    case Key_Code::keep:
      return keep();
    case Key_Code::escape:
      return drop();
    default:
      edit(input);
      return false;
  }
}

void Bytes_Dialog::edit(const Input& input) {
  constexpr auto row = static_cast<std::ptrdiff_t>(bytes_a_row);
  switch (input.code) {
    case Key_Code::character:
      if (hex_digit(input.character) >= 0) bytes_.digit(hex_digit(input.character));
      return;
    case Key_Code::insert:
      return bytes_.insert();
    case Key_Code::backspace:
      return bytes_.erase_before();
    case Key_Code::erase:
      return bytes_.erase_here();
    case Key_Code::left:
      return bytes_.move(-1);
    case Key_Code::right:
      return bytes_.move(1);
    case Key_Code::up:
      return bytes_.move(-row);
    case Key_Code::down:
      return bytes_.move(row);
    case Key_Code::page_up:
      return bytes_.move(-row * shown_rows_);
    case Key_Code::page_down:
      return bytes_.move(row * shown_rows_);
    case Key_Code::home:
      return bytes_.to_start();
    case Key_Code::end:
      return bytes_.to_end();
    default:
      return;
  }
}

}  // namespace kvreg
