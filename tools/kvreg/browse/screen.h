// The terminal as a screen of cells, taken over for as long as the object lives. What is put beyond an edge is left
// out, whole cells at a time.
#pragma once

#include <string_view>

#include "tools/kvreg/browse/cells.h"

namespace kvreg {

enum class Look { plain, title, selected, marked, faint, key, warning, error, box };

class Screen {
 public:
  // Throws Complaint where standard input or output is no terminal, or one of an unknown kind.
  Screen();
  // Gives the terminal back as it was.
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  int rows() const;
  int columns() const;

  void clear();
  // Fills a row between two columns.
  void fill(int row, int column, int columns, Look look);
  // Within so many columns, cut with an ellipsis. The column behind what was put.
  int put(int row, int column, int columns, const Cells& cells, Look look = Look::plain);
  int put_text(int row, int column, int columns, std::string_view text, Look look = Look::plain);
  // A line down, and a frame with a title around an empty inside.
  void put_line_down(int row, int column, int rows);
  void put_frame(int row, int column, int rows, int columns, std::string_view title);

  void hide_cursor();
  void put_cursor(int row, int column);
  // Everything that was put appears at once.
  void show();
  // The same from scratch, whatever others have written.
  void show_anew();

 private:
  void put_cell(int row, int column, const Cell& cell, Look look);

  void* terminal_;
};

}  // namespace kvreg
