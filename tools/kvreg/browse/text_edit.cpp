#include "tools/kvreg/browse/text_edit.h"

#include <algorithm>

namespace kvreg {

Text_Edit::Text_Edit(const std::vector<std::u16string>& lines) {
  for (const std::u16string& each : lines) lines_.emplace_back(each);
  if (lines_.empty()) lines_.emplace_back();
}

std::vector<std::u16string> Text_Edit::texts() const {
  std::vector<std::u16string> texts;
  for (const Line_Edit& each : lines_) texts.push_back(each.text());
  while (!texts.empty() && texts.back().empty()) texts.pop_back();
  return texts;
}

void Text_Edit::new_line() {
  Line_Edit next(line().take_rest());
  next.to_start();
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(++row_), next);
}

void Text_Edit::erase_before() {
  if (line().erase_before() || row_ == 0) return;
  join_next(--row_);
}

void Text_Edit::erase_here() {
  if (!line().erase_here() && row_ + 1 < lines_.size()) join_next(row_);
}

void Text_Edit::left() {
  if (line().left() || row_ == 0) return;
  --row_;
  line().to_end();
}

void Text_Edit::right() {
  if (line().right() || row_ + 1 == lines_.size()) return;
  ++row_;
  line().to_start();
}

void Text_Edit::up(std::size_t count) { row_ -= std::min(row_, count); }

void Text_Edit::down(std::size_t count) { row_ = std::min(row_ + count, lines_.size() - 1); }

// The cursor stands where the two meet.
void Text_Edit::join_next(std::size_t row) {
  const auto next = lines_.begin() + static_cast<std::ptrdiff_t>(row + 1);
  const std::u16string rest = next->text();
  lines_.erase(next);
  Line_Edit& joined = lines_[row];
  const std::size_t meeting = joined.text().size();
  joined.to_end();
  joined.insert(rest);
  while (joined.cursor() > meeting && joined.left()) {
  }
}

}  // namespace kvreg
