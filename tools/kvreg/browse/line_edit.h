// A line of text under a cursor. The text is 16-bit units of any kind; the cursor stands between what cannot be parted.
#pragma once

#include <string>
#include <string_view>

#include "tools/kvreg/browse/cells.h"

namespace kvreg {

class Line_Edit {
 public:
  // The cursor stands at the end.
  explicit Line_Edit(std::u16string text = {}) : text_(std::move(text)), cursor_(text_.size()) {}

  const std::u16string& text() const { return text_; }
  // In units from the start.
  std::size_t cursor() const { return cursor_; }

  void insert(std::u16string_view units);
  // These tell whether anything was there to be erased or passed over.
  bool erase_before();
  bool erase_here();
  bool left();
  bool right();
  void to_start() { cursor_ = 0; }
  void to_end() { cursor_ = text_.size(); }
  void erase_to_start();
  // Cuts the line at the cursor; what stood behind it.
  std::u16string take_rest();

  // The part around the cursor that fits, and where the cursor stands in it.
  struct View {
    Cells cells;
    int cursor_column;
  };
  View view(int columns) const;

 private:
  std::size_t before() const;
  std::size_t behind() const;

  std::u16string text_;
  std::size_t cursor_;
};

}  // namespace kvreg
