#include "tools/kvreg/browse/key_tree.h"

#include <algorithm>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/key.h"
#include "tools/kvreg/snapshot.h"

namespace kvreg {

bool is_same_path(const Key_Path& one, const Key_Path& other) { return folded(one.units()) == folded(other.units()); }

std::vector<std::u16string> readable_sub_keys(const Key_Path& path) {
  try {
    const std::optional<Key> key = Key::find(path);
    return key ? key->sub_keys() : std::vector<std::u16string>();
  } catch (const Failure&) {
    return {};
  }
}

Key_Tree::Key_Tree(std::vector<Key_Path> tops) : tops_(std::move(tops)) { refresh(); }

bool Key_Tree::has_more(const Row& row) const {
  try {
    const std::optional<Key> key = Key::find(row.path);
    return key && key->info().sub_keys > 0;
  } catch (const Failure&) {
    return false;
  }
}

void Key_Tree::select(std::size_t row) { selected_ = std::min(row, rows_.size() - 1); }

void Key_Tree::move(std::ptrdiff_t by) {
  const auto target = static_cast<std::ptrdiff_t>(selected_) + by;
  select(target < 0 ? 0 : static_cast<std::size_t>(target));
}

void Key_Tree::open() {
  open_.insert(folded(path().units()));
  refresh();
}

void Key_Tree::close() {
  open_.erase(folded(path().units()));
  refresh();
}

bool Key_Tree::leave() { return rows_[selected_].depth > 0 && select_path(path().parent()); }

bool Key_Tree::show(const Key_Path& path) {
  for (Key_Path above = path; !above.sub_path.empty();) {
    above = above.parent();
    open_.insert(folded(above.units()));
  }
  rows_.clear();
  for (const Key_Path& top : tops_) append(top, 0);
  return select_path(path);
}

bool Key_Tree::refresh() {
  const Key_Path before = rows_.empty() ? tops_.front() : path();
  rows_.clear();
  for (const Key_Path& top : tops_) append(top, 0);
  return select_path(before);
}

void Key_Tree::follow(const Key_Path& from, const Key_Path& to) {
  const std::u16string old_start = folded(from.units()), new_start = folded(to.units());
  std::set<std::u16string> moved;
  for (const std::u16string& each : open_) {
    const bool is_below =
        each.starts_with(old_start) && (each.size() == old_start.size() || each[old_start.size()] == u'\\');
    moved.insert(is_below ? new_start + each.substr(old_start.size()) : each);
  }
  open_ = std::move(moved);
}

void Key_Tree::append(const Key_Path& path, int depth) {
  const bool is_open = open_.count(folded(path.units())) != 0;
  rows_.push_back({path, depth, is_open});
  if (!is_open) return;
  for (const std::u16string& name : readable_sub_keys(path)) append(path.child(name), depth + 1);
}

bool Key_Tree::select_path(const Key_Path& path) {
  for (Key_Path wanted = path;; wanted = wanted.parent()) {
    const auto found =
        std::find_if(rows_.begin(), rows_.end(), [&](const Row& row) { return is_same_path(row.path, wanted); });
    if (found != rows_.end()) {
      selected_ = static_cast<std::size_t>(found - rows_.begin());
      return is_same_path(wanted, path);
    }
    if (wanted.sub_path.empty()) break;
  }
  selected_ = 0;
  return false;
}

}  // namespace kvreg
