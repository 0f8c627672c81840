// Whether this is the process in which it was said so: false in every other, also in one that was made without
// the handlers of fork. Costs a look into memory.
#pragma once

#include <atomic>

namespace hive {

class Own_Process {
 public:
  // Says so. False where the system does not help.
  static bool claim();
  static bool is_this() {
    const std::atomic<int>* mark = mark_.load(std::memory_order_acquire);
    return mark != nullptr && mark->load(std::memory_order_relaxed) != 0;
  }

 private:
  static std::atomic<std::atomic<int>*> mark_;  // on a page that every child finds zeroed
};

}  // namespace hive
