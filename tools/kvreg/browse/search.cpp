#include "tools/kvreg/browse/search.h"

#include <algorithm>

#include "tools/kvreg/browse/key_tree.h"
#include "tools/kvreg/failure.h"
#include "tools/kvreg/snapshot.h"

namespace kvreg {

Search::Search(std::vector<Key_Path> tops, std::u16string_view text, Place start)
    : tops_(std::move(tops)), start_(std::move(start)) {
  match_.look_for(text);
}

Search::State Search::step() {
  ++looked_at_;
  if (!is_begun_) {
    is_begun_ = true;
    begin_behind_start();
    return look_at_values(start_.key, true) ? State::found : State::looking;
  }
  if (pending_.empty()) {
    if (is_wrapped_) return State::ended;
    is_wrapped_ = true;
    pending_.assign(tops_.rbegin(), tops_.rend());
  }
  const Key_Path path = pending_.back();
  pending_.pop_back();
  return look_at(path);
}

// Pending is what follows the start: its sub-keys, what stands behind it, and behind each key above it.
void Search::begin_behind_start() {
  const auto top = std::find_if(tops_.begin(), tops_.end(), [&](const Key_Path& each) {
    return each.root == start_.key.root && each.machine == start_.key.machine;
  });
  for (auto behind = tops_.end(); top != tops_.end() && behind != top + 1;) pending_.push_back(*--behind);
  Key_Path above = top != tops_.end() ? *top : start_.key;
  std::u16string_view rest = start_.key.sub_path;
  while (!rest.empty()) {
    const std::u16string_view name = rest.substr(0, rest.find(u'\\'));
    rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    push_sub_keys(above, name);
    above = above.child(name);
  }
  push_sub_keys(start_.key);
}

// All of them, or those behind a name.
void Search::push_sub_keys(const Key_Path& path, std::u16string_view behind) {
  std::vector<std::u16string> names = readable_sub_keys(path);
  if (!behind.empty()) {
    const std::u16string wanted = folded(behind);
    const auto at = std::find_if(names.begin(), names.end(), [&](const auto& each) { return folded(each) == wanted; });
    names.erase(names.begin(), at == names.end() ? at : at + 1);
  }
  for (auto name = names.rbegin(); name != names.rend(); ++name) pending_.push_back(path.child(*name));
}

bool Search::look_at_values(const Key_Path& path, bool only_behind_start) {
  try {
    const std::optional<Key> key = Key::find(path);
    if (!key) return false;
    bool is_behind = !only_behind_start || !start_.value;
    std::optional<std::u16string> found;
    key->for_each_value([&](const Value& value) {
      if (!found && is_behind && match_.has_value(value)) found = value.name;
      if (!is_behind) is_behind = folded(value.name) == folded(*start_.value);
    });
    if (found) found_ = {path, found};
    return found.has_value();
  } catch (const Failure&) {
    return false;
  }
}

Search::State Search::look_at(const Key_Path& path) {
  const bool is_start = is_wrapped_ && is_same_path(path, start_.key);
  if (!path.sub_path.empty() && match_.has_key(path.name())) {
    found_ = {path, std::nullopt};
    return State::found;
  }
  if (look_at_values(path, false)) return State::found;
  if (is_start) return State::ended;
  push_sub_keys(path);
  return State::looking;
}

}  // namespace kvreg
