#include "tools/kvreg/browse/line_edit.h"

namespace kvreg {

void Line_Edit::insert(std::u16string_view units) {
  text_.insert(cursor_, units);
  cursor_ += units.size();
}

bool Line_Edit::erase_before() {
  const std::size_t start = before();
  if (start == cursor_) return false;
  text_.erase(start, cursor_ - start);
  cursor_ = start;
  return true;
}

bool Line_Edit::erase_here() {
  const std::size_t end = behind();
  if (end == cursor_) return false;
  text_.erase(cursor_, end - cursor_);
  return true;
}

bool Line_Edit::left() {
  const std::size_t start = before();
  if (start == cursor_) return false;
  cursor_ = start;
  return true;
}

bool Line_Edit::right() {
  const std::size_t end = behind();
  if (end == cursor_) return false;
  cursor_ = end;
  return true;
}

void Line_Edit::erase_to_start() {
  text_.erase(0, cursor_);
  cursor_ = 0;
}

std::u16string Line_Edit::take_rest() {
  std::u16string rest = text_.substr(cursor_);
  text_.resize(cursor_);
  return rest;
}

// The start of the cell that ends at the cursor.
std::size_t Line_Edit::before() const {
  std::size_t start = 0, end = 0;
  for (const Cell& each : cells_of(std::u16string_view(text_).substr(0, cursor_))) {
    start = end;
    end += each.units;
  }
  return start;
}

// The end of the cell that begins at the cursor.
std::size_t Line_Edit::behind() const {
  const Cells rest = cells_of(std::u16string_view(text_).substr(cursor_));
  return cursor_ + (rest.empty() ? 0 : rest.front().units);
}

Line_Edit::View Line_Edit::view(int columns) const {
  View view{{}, 0};
  const Cells left = cells_of(std::u16string_view(text_).substr(0, cursor_));
  const Cells right = cells_of(std::u16string_view(text_).substr(cursor_));
  const int room_here = right.empty() ? 1 : right.front().columns;
  std::size_t first = left.size();
  while (first > 0 && view.cursor_column + left[first - 1].columns + room_here <= columns)
    view.cursor_column += left[--first].columns;
  view.cells.assign(left.begin() + static_cast<std::ptrdiff_t>(first), left.end());
  int taken = view.cursor_column;
  for (const Cell& each : right) {
    taken += each.columns;
    if (taken > columns) break;
    view.cells.push_back(each);
  }
  return view;
}

}  // namespace kvreg
