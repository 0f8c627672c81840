// The batch of a thread: everything that it changes between begin and commit is one transaction of each hive touched,
// which begins with the first change there. Other threads read what was committed; who wants to change the same hive
// waits as for any writer.
//
// A batch is lost, and all of it undone, when it has held a hive for longer than the limit, when the process forks,
// when a hive of it is replaced or cannot be used any more, when an operation fails and cannot be taken back alone, and
// when its thread ends. Its thread is told so by every change that it tries, until it commits or abandons.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

#include "hive/status.h"
#include "hive/store/batch_part.h"

namespace hive {

class Hive;
class Store;
class Coherence;

class Batch {
 public:
  using Clock = std::chrono::steady_clock;

  // How the batch ended in one hive.
  struct Ending {
    std::shared_ptr<Hive> hive;
    Status status;  // not_tried: an earlier one had failed
  };

  // The calling thread's; null when it has none, which costs a look at a number as long as no thread has.
  static Batch* of_thread() { return open_.load(std::memory_order_relaxed) == 0 ? nullptr : find_of_thread(); }
  // in_batch: there is one already.
  static Status begin();
  // Keeps it, hive after hive. Gives ok or what the first hive that failed gave; no_batch, batch_lost.
  static Status commit(std::vector<Ending>* out);
  // no_batch, else ok.
  static Status abandon();
  // Every batch of the process is lost.
  static void lose_all();

  Batch();
  ~Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  bool is_lost() const;
  // Loses it when its time is over.
  void look_at_clock();
  void lose();

  // The hive's Store, while it has a part of the batch; else null.
  Store* store_of(const Hive& hive) const;
  // Whether what is held in memory of this hive is not what the thread must see.
  bool hides(const Coherence* coherence) const;
  // What the Store has of it; null when nothing.
  std::shared_ptr<Batch_Part> part_of(const Store* store) const;
  void add(std::shared_ptr<Hive> hive, Store* store, std::shared_ptr<Batch_Part> part);

  // Around a fork, which loses every batch: with the opening mutex held, before and after those of the hives.
  static void before_fork();
  static void after_fork_in_parent();
  static void after_fork_in_child();

  // What the limit is from now on. For tests, before the first batch.
  static void assume_limit(std::chrono::milliseconds limit);

 private:
  friend class Batch_Guard;

  struct Share {
    std::shared_ptr<Hive> hive;
    Store* store;
    std::shared_ptr<Batch_Part> part;
    bool is_first;  // of two paths to one file
  };

  static Batch* find_of_thread();
  static std::unique_ptr<Batch> take();
  Status keep(std::vector<Ending>* out);
  Status keep_share(const Share& share);

  static std::atomic<int> open_;

  std::vector<Share> shares_;  // changed by its thread, with the guard's mutex held
  std::atomic<bool> lost_{false};
  Clock::time_point deadline_ = Clock::time_point::max();
};

}  // namespace hive
