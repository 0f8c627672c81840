// Draws the browser: a title, the tree and the values side by side, a line that tells what happened, and the keys.
#pragma once

#include <string>

#include "tools/kvreg/browse/browser.h"
#include "tools/kvreg/browse/screen.h"

namespace kvreg {

struct Message {
  std::string text;
  bool is_error = false;
};

// "1 key", "2 keys".
std::string counted(std::size_t count, const char* thing);

class Panes {
 public:
  void draw(Screen& screen, const Browser& browser, const Message& message);
  // Rows of each side, as they were drawn last.
  int rows() const { return rows_; }

 private:
  void draw_title(Screen& screen, const Browser& browser) const;
  void draw_tree(Screen& screen, const Browser& browser, int columns);
  void draw_values(Screen& screen, const Browser& browser, int column);
  void draw_status(Screen& screen, const Browser& browser, const Message& message) const;
  void draw_keys(Screen& screen) const;

  std::size_t first_key_ = 0;
  std::size_t first_value_ = 0;
  int rows_ = 1;
};

}  // namespace kvreg
