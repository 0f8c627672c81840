#include "hive/batch.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "hive/batch_guard.h"
#include "hive/hive.h"
#include "hive/store/back_off.h"
#include "hive/store/store.h"

namespace hive {
namespace {

// Its end, with the thread's, abandons what is open.
thread_local std::unique_ptr<Batch> batch_of_thread;

}  // namespace

std::atomic<int> Batch::open_{0};

Batch::Batch() { open_.fetch_add(1, std::memory_order_relaxed); }

Batch::~Batch() {
  {
    std::lock_guard lock(Batch_Guard::of_process().mutex());
    Batch_Guard::of_process().leave(*this);
  }
  lose();
  open_.fetch_sub(1, std::memory_order_relaxed);
}

Batch* Batch::find_of_thread() { return batch_of_thread.get(); }

Status Batch::begin() {
  if (batch_of_thread != nullptr) return Status::in_batch;
  batch_of_thread = std::make_unique<Batch>();
  return Status::ok;
}

// From now on its time is not measured.
std::unique_ptr<Batch> Batch::take() {
  std::unique_ptr<Batch> batch = std::move(batch_of_thread);
  if (batch == nullptr) return batch;
  std::lock_guard lock(Batch_Guard::of_process().mutex());
  Batch_Guard::of_process().leave(*batch);
  return batch;
}

Status Batch::commit(std::vector<Ending>* out) {
  out->clear();
  const std::unique_ptr<Batch> batch = take();
  if (batch == nullptr) return Status::no_batch;
  batch->look_at_clock();
  return batch->is_lost() ? Status::batch_lost : batch->keep(out);
}

Status Batch::abandon() { return take() == nullptr ? Status::no_batch : Status::ok; }

void Batch::lose_all() {
  std::lock_guard lock(Batch_Guard::of_process().mutex());
  Batch_Guard::of_process().lose_all();
}

Status Batch::keep(std::vector<Ending>* out) {
  Status first_failure = Status::ok;
  for (const Share& share : shares_) {
    if (!share.is_first) continue;
    const Status status = first_failure == Status::ok ? keep_share(share) : Status::not_tried;
    if (first_failure == Status::ok) first_failure = status;
    out->push_back({share.hive, status});
  }
  return first_failure;
}

Status Batch::keep_share(const Share& share) { return share.hive->keep(*share.store, share.part); }

bool Batch::is_lost() const {
  if (lost_.load(std::memory_order_acquire)) return true;
  return std::any_of(shares_.begin(), shares_.end(), [](const Share& share) { return share.part->is_lost(); });
}

void Batch::look_at_clock() {
  if (!shares_.empty() && Clock::now() >= deadline_) lose();
}

void Batch::lose() {
  lost_.store(true, std::memory_order_release);
  for (const Share& share : shares_) share.store->abandon(share.part);
}

Store* Batch::store_of(const Hive& hive) const {
  const auto share =
      std::find_if(shares_.begin(), shares_.end(), [&](const Share& each) { return each.hive.get() == &hive; });
  return share == shares_.end() ? nullptr : share->store;
}

std::shared_ptr<Batch_Part> Batch::part_of(const Store* store) const {
  const auto share =
      std::find_if(shares_.begin(), shares_.end(), [&](const Share& each) { return each.store == store; });
  return share == shares_.end() ? nullptr : share->part;
}

bool Batch::hides(const Coherence* coherence) const {
  const bool has_part = std::any_of(shares_.begin(), shares_.end(),
                                    [&](const Share& share) { return &share.store->coherence() == coherence; });
  return has_part && !is_lost();
}

void Batch::add(std::shared_ptr<Hive> hive, Store* store, std::shared_ptr<Batch_Part> part) {
  Batch_Guard& guard = Batch_Guard::of_process();
  std::lock_guard lock(guard.mutex());
  const bool is_first = part_of(store) == nullptr;
  shares_.push_back({std::move(hive), store, std::move(part), is_first});
  if (shares_.size() > 1) return;
  deadline_ = Clock::now() + guard.limit();
  guard.watch(*this);
}

void Batch::before_fork() { Batch_Guard::of_process().mutex().lock(); }

void Batch::after_fork_in_parent() { Batch_Guard::of_process().mutex().unlock(); }

// The threads whose batches these are do not exist here, and the one that does has none.
void Batch::after_fork_in_child() {
  Batch_Guard::of_process().forget_all();
  Batch_Guard::of_process().mutex().unlock();
  batch_of_thread.reset();
  open_.store(0, std::memory_order_relaxed);
}

void Batch::assume_limit(std::chrono::milliseconds limit) { Batch_Guard::of_process().set_limit(limit); }

}  // namespace hive
