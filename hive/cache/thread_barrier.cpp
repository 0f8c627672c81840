#include "hive/cache/thread_barrier.h"

#include <linux/membarrier.h>
#include <sys/single_threaded.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

namespace hive {
namespace {

bool membarrier(membarrier_cmd command) { return syscall(SYS_membarrier, command, 0, 0) == 0; }

}  // namespace

// Asked also within signal handlers.
bool has_thread_barrier() {
  static std::atomic<int> has{-1};
  int answer = has.load(std::memory_order_relaxed);
  if (answer < 0) [[unlikely]] {
    answer = membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);
    has.store(answer, std::memory_order_relaxed);
  }
  return answer != 0;
}

// A process that was forked may have to register anew.
bool pass_thread_barrier() {
  if (__libc_single_threaded != 0) return true;
  if (membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED)) return true;
  return membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) && membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
}

}  // namespace hive
