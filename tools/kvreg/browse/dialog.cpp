#include "tools/kvreg/browse/dialog.h"

#include <algorithm>

#include "tools/kvreg/reg_text/hex.h"

namespace kvreg {
namespace {

constexpr int widest_frame = 76;

}  // namespace

bool Dialog::keep() {
  is_kept_ = true;
  return true;
}

bool Dialog::drop() {
  is_kept_ = false;
  return true;
}

Dialog::Inside Dialog::put_frame(Screen& screen, int rows, int columns, const std::string& title) {
  const int inside_rows = std::clamp(rows, 1, screen.rows() - 2);
  const int inside_columns = std::clamp(columns, 1, screen.columns() - 4);
  const int row = (screen.rows() - inside_rows - 2) / 2, column = (screen.columns() - inside_columns - 4) / 2;
  screen.put_frame(row, column, inside_rows + 2, inside_columns + 4, title);
  return {row + 1, column + 2, inside_rows, inside_columns};
}

void Dialog::put_last_row(Screen& screen, const Inside& inside, const std::string& keys) const {
  const std::string& text = error_.empty() ? keys : error_;
  screen.put_text(inside.row + inside.rows - 1, inside.column, inside.columns, text,
                  error_.empty() ? Look::faint : Look::error);
}

void Question::draw(Screen& screen) {
  const std::vector<Cells> lines = wrapped(cells_of_text(text_), std::min(widest_frame, screen.columns()) - 4);
  const Inside inside = put_frame(screen, static_cast<int>(lines.size()) + 2, widest_frame - 4, title_);
  for (int i = 0; i < static_cast<int>(lines.size()) && i < inside.rows - 2; ++i)
    screen.put(inside.row + i, inside.column, inside.columns, lines[static_cast<std::size_t>(i)]);
  put_last_row(screen, inside, "y yes   n no");
}

bool Question::take(const Input& input) {
  if (input.code == Key_Code::escape) return drop();
  if (input.code != Key_Code::character) return false;
  if (input.character == U'y' || input.character == U'Y') return keep();
  return input.character == U'n' || input.character == U'N' ? drop() : false;
}

void Unit_By_Number::begin() {
  constexpr int digits_of_a_unit = 4;
  left_ = digits_of_a_unit;
  unit_ = 0;
}

int Unit_By_Number::take(const Input& input) {
  const int digit = input.code == Key_Code::character ? hex_digit(input.character) : -1;
  if (digit < 0) {
    left_ = 0;
    return -1;
  }
  unit_ = unit_ << 4 | digit;
  return --left_ == 0 ? unit_ : -1;
}

void Choice_Dialog::draw(Screen& screen) {
  const auto count = static_cast<int>(choices_.size());
  const Inside inside = put_frame(screen, count + 2, widest_frame / 2, title_);
  const int shown = std::max(inside.rows - 2, 1);
  const int first = std::clamp(static_cast<int>(chosen_) - shown + 1, 0, std::max(count - shown, 0));
  for (int i = 0; i < shown && first + i < count; ++i) {
    const bool is_chosen = static_cast<std::size_t>(first + i) == chosen_;
    if (is_chosen) screen.fill(inside.row + i, inside.column, inside.columns, Look::selected);
    screen.put_text(inside.row + i, inside.column, inside.columns, choices_[static_cast<std::size_t>(first + i)],
                    is_chosen ? Look::selected : Look::plain);
  }
  put_last_row(screen, inside, "Enter takes it   Esc gives up");
}

bool Choice_Dialog::take(const Input& input) {
  switch (input.code) {
    case Key_Code::enter:
      return keep();
    case Key_Code::escape:
      return drop();
    case Key_Code::up:
      chosen_ -= std::min<std::size_t>(chosen_, 1);
      return false;
    case Key_Code::down:
      chosen_ = std::min(chosen_ + 1, choices_.size() - 1);
      return false;
    case Key_Code::home:
      chosen_ = 0;
      return false;
    case Key_Code::end:
      chosen_ = choices_.size() - 1;
      return false;
    default:
      return false;
  }
}

void Page_Dialog::draw(Screen& screen) {
  const auto count = static_cast<int>(lines_.size());
  const Inside inside = put_frame(screen, count + 1, widest_frame - 4, title_);
  shown_rows_ = std::max(inside.rows - 1, 1);
  first_ = std::min(first_, static_cast<std::size_t>(std::max(count - shown_rows_, 0)));
  for (int i = 0; i < shown_rows_ && static_cast<int>(first_) + i < count; ++i)
    screen.put_text(inside.row + i, inside.column, inside.columns, lines_[first_ + static_cast<std::size_t>(i)]);
  put_last_row(screen, inside, count > shown_rows_ ? "Up and Down move, other keys go back" : "any key goes back");
}

bool Page_Dialog::take(const Input& input) {
  switch (input.code) {
    case Key_Code::up:
      first_ -= std::min<std::size_t>(first_, 1);
      return false;
    case Key_Code::down:
      ++first_;
      return false;
    case Key_Code::page_up:
      first_ -= std::min(first_, static_cast<std::size_t>(shown_rows_));
      return false;
    case Key_Code::page_down:
      first_ += static_cast<std::size_t>(shown_rows_);
      return false;
    default:
      return drop();
  }
}

}  // namespace kvreg
