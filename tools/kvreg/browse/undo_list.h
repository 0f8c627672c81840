// The last changes that were made, the newest first to be undone. The oldest ones are forgotten beyond the limits.
#pragma once

#include <deque>
#include <memory>

#include "tools/kvreg/browse/change.h"

namespace kvreg {

class Undo_List {
 public:
  static constexpr std::size_t most_changes = 100;
  static constexpr std::size_t most_bytes = 64 * 1024 * 1024;

  void push(std::unique_ptr<Change> change);
  // Null when there is none.
  const Change* newest() const { return changes_.empty() ? nullptr : changes_.back().get(); }
  std::unique_ptr<Change> take();
  std::size_t count() const { return changes_.size(); }

 private:
  std::deque<std::unique_ptr<Change>> changes_;
  std::size_t bytes_ = 0;
};

}  // namespace kvreg
