#include "tools/kvreg/browse/panes.h"

#include <algorithm>

#include "tools/kvreg/browse/edit_kind.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"

namespace kvreg {
namespace {

constexpr int rows_above = 2, rows_below = 3;  // title and heads; status and keys
constexpr int indent = 2;

struct Key_Word {
  char key;
  const char* word;
};

constexpr Key_Word key_words[] = {
#define KVREG_BROWSE_KEY(key, word, text, action) {key, word},
#include "tools/kvreg/browse/keys.def"
#undef KVREG_BROWSE_KEY
};

// The first row of a side so that the selected one is among the rows that are shown.
std::size_t first_shown(std::size_t first, std::size_t selected, std::size_t count, int rows) {
  const auto shown = static_cast<std::size_t>(std::max(rows, 1));
  first = std::min(first, selected);
  if (selected >= first + shown) first = selected - shown + 1;
  return count > shown ? std::min(first, count - shown) : 0;
}

Look look_of_row(bool is_selected, bool is_worked_on) {
  if (!is_selected) return Look::plain;
  return is_worked_on ? Look::selected : Look::marked;
}

struct Value_Columns {
  int name, type, data;  // widths
};

Value_Columns value_columns(int columns) {
  const int type = columns >= 40 ? 13 : 6;
  const int name = std::max((columns - type - 2) * 2 / 5, 1);
  return {name, type, std::max(columns - name - type - 2, 0)};
}

std::string row_type(DWORD type, int columns) {
  const std::string name = name_of_type(type);
  constexpr std::size_t prefix = sizeof "REG_" - 1;
  return static_cast<int>(name.size()) > columns && name.starts_with("REG_") ? name.substr(prefix) : name;
}

void put_value(Screen& screen, int row, int column, const Value_Columns& widths, const Value_List::Row& value,
               Look look) {
  const Cells name = value.value.name.empty() ? cells_of(u"(Default)") : cells_of(value.value.name);
  screen.put(row, column, widths.name, name, look);
  screen.put_text(row, column + widths.name + 1, widths.type, row_type(value.value.type, widths.type), look);
  screen.put(row, column + widths.name + widths.type + 2, widths.data, cells_of(data_for_row(value.value)), look);
}

std::string facts(const Browser& browser) {
  const Value_List::Row* const row = browser.values().row();
  std::string text;
  if (browser.side() == Side_Of_Screen::values && row != nullptr) {
    text = shown_name(row->value) + ": " + name_of_type(row->value.type) + ", " + counted(row->size, "byte");
  } else {
    text = counted(browser.values().rows().size(), "value");
  }
  const Change* const newest = browser.undo_list().newest();
  return newest == nullptr ? text : text + "; u undoes: " + newest->what();
}

}  // namespace

std::string counted(std::size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

void Panes::draw(Screen& screen, const Browser& browser, const Message& message) {
  const int left = std::clamp(screen.columns() * 2 / 5, 10, 60);
  rows_ = std::max(screen.rows() - rows_above - rows_below, 1);
  draw_title(screen, browser);
  draw_tree(screen, browser, left);
  screen.put_line_down(1, left, rows_ + 1);
  draw_values(screen, browser, left + 1);
  draw_status(screen, browser, message);
  draw_keys(screen);
}

void Panes::draw_title(Screen& screen, const Browser& browser) const {
  const int columns = screen.columns();
  const std::string mark = browser.read_only_reason().empty() ? "" : " read-only ";
  const int room = std::max(columns - static_cast<int>(mark.size()) - 1, 0);
  screen.fill(0, 0, columns, Look::title);
  screen.put(0, 1, room, cells_of(browser.path().units()), Look::title);
  screen.put_text(0, columns - static_cast<int>(mark.size()), static_cast<int>(mark.size()), mark, Look::warning);
}

void Panes::draw_tree(Screen& screen, const Browser& browser, int columns) {
  const Key_Tree& tree = browser.tree();
  const bool is_worked_on = browser.side() == Side_Of_Screen::tree;
  first_key_ = first_shown(first_key_, tree.selected(), tree.rows().size(), rows_ + 1);
  // A deep key is moved to the left, so that its name can be read.
  const int shift = std::max(tree.rows()[tree.selected()].depth * indent - columns / 2, 0);
  for (int i = 0; i <= rows_; ++i) {
    const std::size_t at = first_key_ + static_cast<std::size_t>(i);
    if (at >= tree.rows().size()) break;
    const Key_Tree::Row& row = tree.rows()[at];
    const Look look = look_of_row(at == tree.selected(), is_worked_on);
    const int column = std::max(row.depth * indent - shift, 0);
    const char* const mark = row.is_open ? "- " : tree.has_more(row) ? "+ " : "  ";
    if (look == Look::selected) screen.fill(1 + i, 0, columns, look);
    const int name_column = screen.put_text(1 + i, column, columns - column, mark, look);
    screen.put(1 + i, name_column, columns - name_column, cells_of(row.path.name()), look);
  }
}

void Panes::draw_values(Screen& screen, const Browser& browser, int column) {
  const Value_List& values = browser.values();
  const int columns = screen.columns() - column;
  const Value_Columns widths = value_columns(columns);
  screen.put_text(1, column, widths.name, "Name", Look::faint);
  screen.put_text(1, column + widths.name + 1, widths.type, "Type", Look::faint);
  screen.put_text(1, column + widths.name + widths.type + 2, widths.data, "Data", Look::faint);
  if (!values.error().empty()) screen.put_text(2, column, columns, values.error(), Look::error);
  first_value_ = first_shown(first_value_, values.selected(), values.rows().size(), rows_);
  for (int i = 0; i < rows_; ++i) {
    const std::size_t at = first_value_ + static_cast<std::size_t>(i);
    if (at >= values.rows().size()) break;
    const Look look = look_of_row(at == values.selected() && browser.side() == Side_Of_Screen::values, true);
    if (look == Look::selected) screen.fill(2 + i, column, columns, look);
    put_value(screen, 2 + i, column, widths, values.rows()[at], look);
  }
}

// A long message takes rows of the panes above.
void Panes::draw_status(Screen& screen, const Browser& browser, const Message& message) const {
  std::string text = message.text;
  Look look = message.is_error ? Look::error : Look::warning;
  if (text.empty() && !browser.read_only_reason().empty()) {
    text = "read-only: " + browser.read_only_reason();
  } else if (text.empty()) {
    text = facts(browser);
    look = Look::faint;
  }
  const std::vector<Cells> lines = wrapped(cells_of_text(text), screen.columns());
  int row = std::max(screen.rows() - rows_below - static_cast<int>(lines.size()) + 1, rows_above);
  for (const Cells& each : lines) {
    if (row > screen.rows() - rows_below) break;
    screen.fill(row, 0, screen.columns(), Look::plain);
    screen.put(row++, 0, screen.columns(), each, look);
  }
}

void Panes::draw_keys(Screen& screen) const {
  int row = screen.rows() - 2, column = 0;
  const auto put = [&](const std::string& key, const std::string& word) {
    const int taken = static_cast<int>(key.size() + 1 + word.size());
    if (column + taken > screen.columns() && row + 1 < screen.rows()) {
      ++row;
      column = 0;
    }
    column = screen.put_text(row, column, screen.columns() - column, key, Look::key) + 1;
    column = screen.put_text(row, column, screen.columns() - column, word, Look::faint) + 2;
  };
  put("Enter", "Open");
  put("Tab", "Other side");
  for (const Key_Word& each : key_words) put(std::string(1, each.key), each.word);
}

}  // namespace kvreg
