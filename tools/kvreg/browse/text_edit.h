// Several lines of text under a cursor.
#pragma once

#include <vector>

#include "tools/kvreg/browse/line_edit.h"

namespace kvreg {

class Text_Edit {
 public:
  explicit Text_Edit(const std::vector<std::u16string>& lines);

  // Without empty ones at the end.
  std::vector<std::u16string> texts() const;

  const std::vector<Line_Edit>& lines() const { return lines_; }
  std::size_t row() const { return row_; }
  Line_Edit& line() { return lines_[row_]; }

  // Parts the line at the cursor.
  void new_line();
  // At the start of a line joins it to the one before; at its end the next one to it.
  void erase_before();
  void erase_here();
  void left();
  void right();
  void up(std::size_t count = 1);
  void down(std::size_t count = 1);

 private:
  void join_next(std::size_t row);

  std::vector<Line_Edit> lines_;
  std::size_t row_ = 0;
};

}  // namespace kvreg
