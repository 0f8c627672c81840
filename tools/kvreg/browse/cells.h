// Text as it stands in the cells of a terminal. Whatever the text is made of, nothing in it moves the cursor or changes
// the terminal: what would is written \uXXXX. A mark that combines stands in the cell of the character before it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvreg {

// What cannot be parted: a character with its marks, one or two columns wide, or an escape of six columns or more.
struct Cell {
  std::wstring text;
  int columns;
  std::size_t units;  // of the text that it stands for
  bool is_escape;
};

using Cells = std::vector<Cell>;

Cells cells_of(std::u16string_view units);
// The same of text in the code page.
Cells cells_of_text(std::string_view text);

int columns_of(const Cells& cells);
// So many columns at most; the last cell is an ellipsis when not all fit.
Cells cut(Cells cells, int columns);
// The ellipsis that the code page has.
Cell ellipsis();

// Lines of whole words where words fit, each of so many columns at most.
std::vector<Cells> wrapped(const Cells& cells, int columns);

}  // namespace kvreg
