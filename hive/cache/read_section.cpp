// A section counts itself in the current one of two phases. The phase changes whenever the former one has no
// sections left; what was retired before the change is then released as soon as the phase that ended has none.
#include "hive/cache/read_section.h"

#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <vector>

namespace hive {
namespace {

constexpr unsigned counters = 32;  // spread over threads
constexpr int thread_shift = 12;   // threads lie pages apart

struct alignas(64) Counter {
  std::atomic<int> sections{0};
};

struct Sections {
  std::atomic<unsigned> phase{0};
  Counter counts[2][counters];

  bool any(unsigned of_phase) const {
    int sum = 0;
    for (const Counter& counter : counts[of_phase & 1]) sum += counter.sections.load(std::memory_order_seq_cst);
    return sum != 0;
  }
};

using Objects = std::vector<std::unique_ptr<const Shared_Object>>;

constinit Sections first_sections;
constinit std::atomic<Sections*> current{&first_sections};

struct Retired {
  std::mutex mutex;
  Objects of_this_phase;
  Objects of_the_phase_before;
};

Retired& retired() {
  static Retired& objects = *new Retired;
  return objects;
}

unsigned counter_of_thread() {
  const auto thread = static_cast<std::uintptr_t>(pthread_self());
  return static_cast<unsigned>((thread >> thread_shift) ^ (thread >> (2 * thread_shift))) % counters;
}

// Takes what can be released now. False when the former phase has sections left.
bool change_phase(Retired& objects, Sections& sections, Objects& releasable) {
  const unsigned phase = sections.phase.load(std::memory_order_relaxed);
  if (sections.any(phase - 1)) return false;
  std::move(objects.of_the_phase_before.begin(), objects.of_the_phase_before.end(), std::back_inserter(releasable));
  objects.of_the_phase_before.clear();
  objects.of_the_phase_before.swap(objects.of_this_phase);
  sections.phase.store(phase + 1, std::memory_order_seq_cst);
  return true;
}

}  // namespace

Shared_Object::~Shared_Object() = default;

// Counted in a phase that ends meanwhile, a section would be overlooked: it counts itself anew.
Read_Section::Read_Section() {
  Sections& sections = *current.load(std::memory_order_acquire);
  const unsigned counter = counter_of_thread();
  for (;;) {
    const unsigned phase = sections.phase.load(std::memory_order_relaxed);
    counter_ = &sections.counts[phase & 1][counter].sections;
    counter_->fetch_add(1, std::memory_order_seq_cst);
    if (sections.phase.load(std::memory_order_seq_cst) == phase) return;
    counter_->fetch_sub(1, std::memory_order_release);
  }
}

void retire(std::unique_ptr<const Shared_Object> object) {
  if (object == nullptr) return;
  Retired& objects = retired();
  Objects releasable;  // released without the mutex
  std::lock_guard lock(objects.mutex);
  objects.of_this_phase.push_back(std::move(object));
  Sections& sections = *current.load(std::memory_order_acquire);
  // Twice: with no section left at all the object itself is released.
  if (change_phase(objects, sections, releasable)) change_phase(objects, sections, releasable);
}

void hold_retired_objects() { retired().mutex.lock(); }

void let_go_of_retired_objects() { retired().mutex.unlock(); }

// Those of this thread end on the counters that they began on.
void forget_other_sections() { current.store(new Sections, std::memory_order_release); }

}  // namespace hive
