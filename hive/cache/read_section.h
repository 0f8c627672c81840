// Reading shared objects without a lock: who looks at objects that others may replace does so within a
// Read_Section, and what was replaced is given to retire(), which releases it once no section that could have
// seen it is left. Readers never wait and never write to a line that another reader's core must have.
//
// Sections may be nested. A fork may happen at any time: sections of threads that are not in the child are
// forgotten there.
#pragma once

#include <atomic>
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
  ~Read_Section() { counter_->fetch_sub(1, std::memory_order_release); }
  Read_Section(const Read_Section&) = delete;
  Read_Section& operator=(const Read_Section&) = delete;

 private:
  std::atomic<int>* counter_;
};

// The object can no longer be found by a section that begins now. Null is passed over.
void retire(std::unique_ptr<const Shared_Object> object);

// Around a fork; the first with nothing of this held, the last two in both processes.
void hold_retired_objects();
void let_go_of_retired_objects();
// In the child, before it lets go.
void forget_other_sections();

}  // namespace hive
