#include "hive/cache/own_process.h"

#include <sys/mman.h>
#include <unistd.h>

#include <mutex>
#include <new>

namespace hive {
namespace {

std::atomic<int>* make_mark() {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* memory = mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return nullptr;
  if (madvise(memory, page, MADV_WIPEONFORK) != 0) return nullptr;
  return new (memory) std::atomic<int>(0);
}

}  // namespace

std::atomic<std::atomic<int>*> Own_Process::mark_{nullptr};

// The counter is inherited, so that no child gets a number of one it comes from.
int Own_Process::claim() {
  static std::atomic<int> given{0};
  static std::once_flag once;
  std::call_once(once, [] { mark_.store(make_mark(), std::memory_order_release); });
  std::atomic<int>* mark = mark_.load(std::memory_order_acquire);
  if (mark == nullptr) return 0;
  int number = mark->load(std::memory_order_relaxed);
  if (number == 0 && mark->compare_exchange_strong(number, given + 1)) number = ++given;
  return number;
}

}  // namespace hive
