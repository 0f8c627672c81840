#include "tools/kvreg/browse/cells.h"

#include <wchar.h>

#include <algorithm>
#include <cstdio>

#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"

namespace kvreg {
namespace {

// A screen keeps no more characters in a cell than a base and so many marks.
constexpr std::size_t most_marks = 3;

bool is_high(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool is_low(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

std::u16string_view take_character(std::u16string_view& units) {
  const bool is_pair = units.size() > 1 && is_high(units[0]) && is_low(units[1]);
  const std::u16string_view character = units.substr(0, is_pair ? 2 : 1);
  units.remove_prefix(character.size());
  return character;
}

wchar_t code_of(std::u16string_view character) {
  if (character.size() == 1) return static_cast<wchar_t>(character[0]);
  return static_cast<wchar_t>(0x10000 + ((character[0] - 0xD800) << 10) + (character[1] - 0xDC00));
}

Cell escape_of(std::u16string_view character) {
  Cell cell{{}, 0, character.size(), true};
  for (const char16_t unit : character) {
    char text[8];
    std::snprintf(text, sizeof text, "\\u%04X", static_cast<unsigned>(unit));
    for (const char* at = text; *at != '\0'; ++at) cell.text.push_back(static_cast<wchar_t>(*at));
  }
  cell.columns = static_cast<int>(cell.text.size());
  return cell;
}

// A space only as a line of text has it, and whatever else may stand as it is.
bool is_plain_ascii(std::u16string_view character) { return character[0] >= 0x20 && character[0] < 0x7F; }

// Appends one character, in a cell of its own or, as a mark, in the last one.
void append_character(Cells& cells, std::u16string_view character) {
  if (is_plain_ascii(character)) {
    cells.push_back({std::wstring(1, static_cast<wchar_t>(character[0])), 1, 1, false});
    return;
  }
  const std::string in_code_page = shown(character);
  const wchar_t code = in_code_page == "?" ? L'?' : code_of(character);
  const int columns = in_code_page.front() == '\\' ? -1 : wcwidth(code);
  const bool takes_mark = !cells.empty() && !cells.back().is_escape && cells.back().text.size() <= most_marks;
  if (columns > 0) {
    cells.push_back({std::wstring(1, code), columns, character.size(), false});
  } else if (columns == 0 && takes_mark) {
    cells.back().text.push_back(code);
    cells.back().units += character.size();
  } else {
    cells.push_back(escape_of(character));
  }
}

}  // namespace

Cells cells_of(std::u16string_view units) {
  Cells cells;
  cells.reserve(units.size());
  while (!units.empty()) append_character(cells, take_character(units));
  return cells;
}

Cells cells_of_text(std::string_view text) { return cells_of(units_of(text)); }

int columns_of(const Cells& cells) {
  int columns = 0;
  for (const Cell& each : cells) columns += each.columns;
  return columns;
}

Cell ellipsis() {
  constexpr wchar_t dots = 0x2026;
  return {std::wstring(1, wcwidth(dots) == 1 ? dots : L'~'), 1, 0, false};
}

Cells cut(Cells cells, int columns) {
  if (columns_of(cells) <= columns) return cells;
  int taken = 0;
  std::size_t count = 0;
  while (taken + cells[count].columns < columns) taken += cells[count++].columns;
  cells.resize(count, ellipsis());
  if (columns > 0) cells.push_back(ellipsis());
  return cells;
}

std::vector<Cells> wrapped(const Cells& cells, int columns) {
  std::vector<Cells> lines(1);
  int taken = 0;
  for (const Cell& each : cells) {
    if (taken + each.columns > columns && !lines.back().empty()) {
      Cells& full = lines.back();
      const auto space = std::find_if(full.rbegin(), full.rend(), [](const Cell& cell) { return cell.text == L" "; });
      const auto start = each.text != L" " && space != full.rend() ? space.base() : full.end();
      Cells next(start, full.end());
      full.erase(start, full.end());
      taken = columns_of(next);
      lines.push_back(std::move(next));
      if (each.text == L" " && lines.back().empty()) continue;
    }
    lines.back().push_back(each);
    taken += each.columns;
  }
  return lines;
}

}  // namespace kvreg
