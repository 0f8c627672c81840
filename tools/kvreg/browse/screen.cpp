#include "tools/kvreg/browse/screen.h"

#define NCURSES_NOMACROS
#define NCURSES_WIDECHAR 1
#include <curses.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tools/kvreg/failure.h"

namespace kvreg {
namespace {

constexpr int milliseconds_of_an_escape = 50;

enum Pair : short { title_pair = 1, key_pair, warning_pair, error_pair, escape_pair, selected_pair };

struct Attributes {
  attr_t attributes;
  short pair;
};

// Without colours everything is told by the attributes alone.
Attributes attributes_of(Look look) {
  const bool colours = has_colors();
  switch (look) {
    case Look::title:
      return colours ? Attributes{A_BOLD, title_pair} : Attributes{A_REVERSE, 0};
    case Look::selected:
      return colours ? Attributes{A_BOLD, selected_pair} : Attributes{A_REVERSE, 0};
    case Look::marked:
      return {A_BOLD | A_UNDERLINE, 0};
    case Look::faint:
      return {A_DIM, 0};
    case Look::key:
      return {A_BOLD, static_cast<short>(colours ? key_pair : 0)};
    case Look::warning:
      return {A_BOLD, static_cast<short>(colours ? warning_pair : 0)};
    case Look::error:
      return {A_BOLD, static_cast<short>(colours ? error_pair : 0)};
    case Look::box:
    case Look::plain:
      break;
  }
  return {A_NORMAL, 0};
}

void prepare_colours() {
  if (!has_colors()) return;
  start_color();
  use_default_colors();
  init_pair(title_pair, COLOR_WHITE, COLOR_BLUE);
  init_pair(selected_pair, COLOR_BLACK, COLOR_CYAN);
  init_pair(key_pair, COLOR_CYAN, -1);
  init_pair(warning_pair, COLOR_YELLOW, -1);
  init_pair(error_pair, COLOR_RED, -1);
  init_pair(escape_pair, COLOR_MAGENTA, -1);
}

SCREEN* take_terminal() {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0)
    throw Complaint("standard input and output must be a terminal; the other verbs serve scripts");
  SCREEN* const terminal = newterm(nullptr, stdout, stdin);
  if (terminal != nullptr) return terminal;
  const char* const kind = std::getenv("TERM");
  throw Complaint("the terminal \"" + std::string(kind != nullptr ? kind : "") +
                  "\" is not known; TERM names its kind");
}

}  // namespace

Screen::Screen() : terminal_(take_terminal()) {
  cbreak();
  noecho();
  nonl();
  intrflush(stdscr, FALSE);
  keypad(stdscr, TRUE);
  nodelay(stdscr, TRUE);
  set_escdelay(milliseconds_of_an_escape);
  prepare_colours();
}

Screen::~Screen() {
  curs_set(1);
  endwin();
  delscreen(static_cast<SCREEN*>(terminal_));
}

int Screen::rows() const { return getmaxy(stdscr); }
int Screen::columns() const { return getmaxx(stdscr); }

void Screen::clear() {
  werase(stdscr);
  hide_cursor();
}

void Screen::fill(int row, int column, int columns, Look look) {
  const Cell space{L" ", 1, 1, false};
  for (int i = 0; i < columns; ++i) put_cell(row, column + i, space, look);
}

int Screen::put(int row, int column, int columns, const Cells& cells, Look look) {
  for (const Cell& each : cut(cells, columns)) {
    put_cell(row, column, each, look);
    column += each.columns;
  }
  return column;
}

int Screen::put_text(int row, int column, int columns, std::string_view text, Look look) {
  return put(row, column, columns, cells_of_text(text), look);
}

void Screen::put_line_down(int row, int column, int rows) { mvwvline_set(stdscr, row, column, WACS_VLINE, rows); }

void Screen::put_frame(int row, int column, int rows, int columns, std::string_view title) {
  for (int i = 0; i < rows; ++i) fill(row + i, column, columns, Look::box);
  mvwhline_set(stdscr, row, column, WACS_HLINE, columns);
  mvwhline_set(stdscr, row + rows - 1, column, WACS_HLINE, columns);
  mvwvline_set(stdscr, row, column, WACS_VLINE, rows);
  mvwvline_set(stdscr, row, column + columns - 1, WACS_VLINE, rows);
  mvadd_wch(row, column, WACS_ULCORNER);
  mvadd_wch(row, column + columns - 1, WACS_URCORNER);
  mvadd_wch(row + rows - 1, column, WACS_LLCORNER);
  mvadd_wch(row + rows - 1, column + columns - 1, WACS_LRCORNER);
  put_text(row, column + 2, columns - 4, " " + std::string(title) + " ", Look::key);
}

void Screen::hide_cursor() { curs_set(0); }

void Screen::put_cursor(int row, int column) {
  curs_set(1);
  wmove(stdscr, row, column);
}

void Screen::show() { wrefresh(stdscr); }

void Screen::show_anew() {
  clearok(stdscr, TRUE);
  show();
}

void Screen::put_cell(int row, int column, const Cell& cell, Look look) {
  if (row < 0 || row >= rows() || column < 0 || column + cell.columns > columns()) return;
  Attributes look_of = attributes_of(look);
  if (cell.is_escape && look_of.pair == 0 && has_colors()) look_of.pair = escape_pair;
  const std::size_t step = cell.is_escape ? 1 : cell.text.size();
  for (std::size_t i = 0; i < cell.text.size(); i += step) {
    cchar_t character;
    const std::wstring text = cell.text.substr(i, step);
    if (setcchar(&character, text.c_str(), look_of.attributes, look_of.pair, nullptr) == ERR) return;
    mvadd_wch(row, column + static_cast<int>(i), &character);
  }
}

}  // namespace kvreg
