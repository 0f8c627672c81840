#include "hive/batch_guard.h"

#include <algorithm>
#include <new>
#include <utility>

#include "hive/watch/small_thread.h"

namespace hive {

Batch_Guard& Batch_Guard::of_process() {
  static Batch_Guard& guard = *new Batch_Guard;
  return guard;
}

void Batch_Guard::set_limit(std::chrono::milliseconds limit) {
  std::lock_guard lock(mutex_);
  limit_ = limit;
  limit_changed_.notify_all();
}

// Without a thread a batch that is over is lost at its own next change.
void Batch_Guard::watch(Batch& batch) {
  watched_.push_back(&batch);
  was_used_ = true;
  if (!has_thread_) has_thread_ = start_small_thread("registry-batch", [this] { stand(); });
}

void Batch_Guard::leave(Batch& batch) { std::erase(watched_, &batch); }

void Batch_Guard::lose_all() {
  for (Batch* batch : watched_) batch->lose();
}

void Batch_Guard::forget_all() {
  watched_.clear();
  has_thread_ = false;
  new (&limit_changed_) std::condition_variable;
}

// Who comes later has its time end later, so nobody wakes the thread.
void Batch_Guard::stand() {
  std::unique_lock lock(mutex_);
  while (!watched_.empty() || std::exchange(was_used_, false)) limit_changed_.wait_until(lock, lose_overdue());
  has_thread_ = false;
}

// When to look again.
Batch_Guard::Clock::time_point Batch_Guard::lose_overdue() {
  const Clock::time_point now = Clock::now();
  Clock::time_point next = now + limit_;
  for (Batch* batch : watched_) {
    if (batch->deadline_ <= now) batch->lose();
    if (!batch->is_lost()) next = std::min(next, batch->deadline_);
  }
  return next;
}

}  // namespace hive
