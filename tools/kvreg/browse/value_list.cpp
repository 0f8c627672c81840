#include "tools/kvreg/browse/value_list.h"

#include <winerror.h>

#include <algorithm>

#include "tools/kvreg/browse/key_tree.h"
#include "tools/kvreg/failure.h"
#include "tools/kvreg/snapshot.h"

namespace kvreg {
namespace {

constexpr std::size_t shown_size = 2048;  // bytes, and whole units

}  // namespace

void Value_List::read(const Key_Path& path) {
  const bool is_same = path_.root != nullptr && is_same_path(path_, path);
  const std::u16string before = is_same && !rows_.empty() ? rows_[selected_].value.name : std::u16string();
  const std::size_t place = is_same ? selected_ : 0;
  path_ = path;
  rows_.clear();
  error_.clear();
  try {
    Key::open(path).for_each_value([&](const Value& value) {
      rows_.push_back({{value.name, value.type, value.data.substr(0, shown_size)}, value.data.size()});
    });
  } catch (const Failure& failure) {
    error_ = describe_code(failure.code);
  }
  select(place);
  if (is_same) show(before);
}

void Value_List::select(std::size_t row) { selected_ = rows_.empty() ? 0 : std::min(row, rows_.size() - 1); }

void Value_List::move(std::ptrdiff_t by) {
  const auto target = static_cast<std::ptrdiff_t>(selected_) + by;
  select(target < 0 ? 0 : static_cast<std::size_t>(target));
}

bool Value_List::show(std::u16string_view name) {
  const std::u16string wanted = folded(name);
  const auto found =
      std::find_if(rows_.begin(), rows_.end(), [&](const Row& row) { return folded(row.value.name) == wanted; });
  if (found == rows_.end()) return false;
  selected_ = static_cast<std::size_t>(found - rows_.begin());
  return true;
}

}  // namespace kvreg
