// Reading shared objects without a lock: who looks at objects that others may replace does so within a
// Read_Section, and what was replaced is given to retire(), which releases it once no section that could have
// seen it is left. Readers never wait and never write to a line that another reader's core must have; where the system
// can put a barrier into all threads at once, they need none themselves.
//
// Sections may be nested. A fork may happen at any time: sections of threads that are not in the child are
// forgotten there.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

namespace hive {

// What may be retired.
class Shared_Object {
 public:
  virtual ~Shared_Object();

 protected:
  Shared_Object() = default;
  Shared_Object(const Shared_Object&) = delete;
  Shared_Object& operator=(const Shared_Object&) = delete;
};

class Read_Section {
 public:
  Read_Section();
  ~Read_Section() { leave(); }
  Read_Section(const Read_Section&) = delete;
  Read_Section& operator=(const Read_Section&) = delete;

 private:
  [[gnu::noinline]] void share(const std::atomic<unsigned>& current_phase, std::atomic<int>* counts);
  void leave() {
    if (is_own_) {
      count_->store(count_->load(std::memory_order_relaxed) - 1, std::memory_order_release);
    } else {
      count_->fetch_sub(1, std::memory_order_release);
    }
  }

  std::atomic<int>* count_;
  bool is_own_;  // nobody but this thread counts there
};

// The object can no longer be found by a section that begins now. Null is passed over. size: of all that goes with it,
// in bytes, if it may be much; a process of several threads releases objects some at a time.
void retire(std::unique_ptr<const Shared_Object> object, std::size_t size = 0);

// The same for what takes locks when it is released: that happens in calls of this function only, made without locks.
void retire_with_locks(std::unique_ptr<const Shared_Object> object);

// Around a fork; the first with nothing of this held, the last two in both processes.
void hold_retired_objects();
void let_go_of_retired_objects();
// In the child, before it lets go.
void forget_other_sections();

}  // namespace hive
