// What one hive has of a batch: a transaction that stays open from operation to operation. Whoever made a key within it
// keeps it in mind, since the key is none when the part is lost.
#pragma once

#include <atomic>

namespace hive {

class Batch_Part {
 public:
  bool is_lost() const { return is_lost_.load(std::memory_order_acquire); }
  void lose() { is_lost_.store(true, std::memory_order_release); }

 private:
  std::atomic<bool> is_lost_{false};
};

}  // namespace hive
