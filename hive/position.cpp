#include "hive/position.h"

#include <sched.h>

namespace hive {
namespace {

constexpr int tries_before_yielding = 100;

std::atomic<unsigned> forks{1};

}  // namespace

void Position_Lock::lock() {
  const unsigned own = forks.load(std::memory_order_relaxed);
  for (int tries = 1;; ++tries) {
    unsigned holder = holder_.load(std::memory_order_relaxed);
    if (holder != own && holder_.compare_exchange_weak(holder, own, std::memory_order_acquire)) return;
    if (tries % tries_before_yielding == 0) sched_yield();
  }
}

void Position_Lock::after_fork() { forks.fetch_add(1, std::memory_order_relaxed); }

void Position::set(std::uint32_t at_index, std::u16string_view folded_name, std::int64_t of_seq, std::size_t at_place) {
  is_set = true;
  index = at_index;
  folded.assign(folded_name);
  seq = of_seq;
  place = at_place;
}

}  // namespace hive
