// Which process this is: a number that every child finds changed, also one that was made without the handlers of
// fork. Asking costs a look into memory.
#pragma once

#include <atomic>

namespace hive {

class Own_Process {
 public:
  // This process's number, given to it now if it has none. 0 where the system does not help.
  static int claim();
  // 0 as long as none was given.
  static int number() {
    const std::atomic<int>* mark = mark_.load(std::memory_order_acquire);
    return mark == nullptr ? 0 : mark->load(std::memory_order_relaxed);
  }

 private:
  static std::atomic<std::atomic<int>*> mark_;  // on a page that every child finds zeroed
};

}  // namespace hive
