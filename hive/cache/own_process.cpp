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

bool Own_Process::claim() {
  static std::once_flag once;
  std::call_once(once, [] { mark_.store(make_mark(), std::memory_order_release); });
  std::atomic<int>* mark = mark_.load(std::memory_order_acquire);
  if (mark != nullptr) mark->store(1, std::memory_order_relaxed);
  return mark != nullptr;
}

}  // namespace hive
