// Sees to it that no batch holds a hive for longer than the limit, whatever its thread does: by a thread of its own,
// which lives from the first batch that changes something until no batch has for as long as the limit.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "hive/batch.h"

namespace hive {

class Batch_Guard {
 public:
  static Batch_Guard& of_process();

  // Of the batches that are watched, and their shares. Taken before any hive's mutex.
  std::mutex& mutex() { return mutex_; }
  std::chrono::milliseconds limit() const { return limit_; }
  void set_limit(std::chrono::milliseconds limit);

  // With the mutex held.
  void watch(Batch& batch);
  void leave(Batch& batch);
  void lose_all();

  // In a forked child, with the mutex held.
  void forget_all();

 private:
  using Clock = Batch::Clock;

  Batch_Guard() = default;
  void stand();
  Clock::time_point lose_overdue();

  std::mutex mutex_;
  std::condition_variable limit_changed_;
  std::vector<Batch*> watched_;
  std::chrono::milliseconds limit_{30000};
  bool has_thread_ = false;
  bool was_used_ = false;  // since the thread last looked
};

}  // namespace hive
