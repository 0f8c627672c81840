#include "hive/watch/watch_word.h"

#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace hive {
namespace {

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

}  // namespace

Watch_Word::Watch_Word(int fd) {
  void* mapped = mmap(nullptr, file_size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  word_ = mapped == MAP_FAILED ? nullptr : static_cast<std::atomic<std::uint32_t>*>(mapped);
}

Watch_Word::~Watch_Word() {
  if (word_ != nullptr && word_ != &own_) munmap(word_, file_size);
}

void Watch_Word::ring() {
  word_->fetch_add(1);
  syscall(SYS_futex, word_, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

void Watch_Word::sleep(std::uint32_t seen, std::chrono::milliseconds longest) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(longest);
  const timespec time{seconds.count(), std::chrono::nanoseconds(longest - seconds).count()};
  syscall(SYS_futex, word_, FUTEX_WAIT, seen, &time, nullptr, 0);
}

}  // namespace hive
