// A section counts itself in the current one of two phases. The phase changes whenever the former one has no
// sections left; what was retired before a change can be released after the next one.
//
// A thread counts in counts of its own, without a barrier: who wants to know whether a phase has sections left puts one
// into every thread first. Threads that get none, as there are too many or the system has no such barrier, share
// counts.
#include "hive/cache/read_section.h"

#include <pthread.h>
#include <sys/single_threaded.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#include "hive/cache/thread_barrier.h"

namespace hive {
namespace {

constexpr unsigned shared_counters = 32;  // spread over threads
constexpr unsigned own_counters = 256;
constexpr unsigned places_to_try = 8;
constexpr int thread_shift = 12;  // threads lie pages apart

// What is released at once while there are several threads, as the barrier costs them time.
constexpr std::size_t objects_for_a_barrier = 32;
constexpr std::size_t size_for_a_barrier = 256u * 1024;

// Nobody else has the same number while the thread lives; who has it later goes on counting in the same place.
std::uintptr_t number_of_thread() { return static_cast<std::uintptr_t>(pthread_self()); }

constexpr std::uintptr_t being_taken = 1;  // no thread's number

unsigned spread(std::uintptr_t thread) {
  return static_cast<unsigned>((thread >> thread_shift) ^ (thread >> (2 * thread_shift)));
}

struct alignas(64) Counter {
  std::atomic<std::uintptr_t> owner{0};
  Counter* next = nullptr;  // of those that have an owner
  std::atomic<int> counts[2]{};
};

class Sections {
 public:
  // The calling thread's own one; null when it has none.
  Counter* own() {
    const std::uintptr_t thread = number_of_thread();
    const unsigned place = spread(thread);
    Counter& usual = own_[place % own_counters];
    if (usual.owner.load(std::memory_order_relaxed) == thread) [[likely]]
      return &usual;
    return other(thread, place);
  }
  Counter& shared() { return shared_[spread(number_of_thread()) % shared_counters]; }

  // After a barrier in all threads.
  bool any(unsigned of_phase) const {
    int sum = 0;
    for (const Counter& counter : shared_) sum += counter.counts[of_phase & 1].load(std::memory_order_seq_cst);
    for (const Counter* own = owned_.load(std::memory_order_acquire); own != nullptr; own = own->next) {
      sum += own->counts[of_phase & 1].load(std::memory_order_acquire);
    }
    return sum != 0;
  }

  std::atomic<unsigned> phase{0};

 private:
  // Not in the usual place: further on, or taken now.
  [[gnu::noinline]] Counter* other(std::uintptr_t thread, unsigned place) {
    for (unsigned tries = 0; tries < places_to_try; ++tries) {
      Counter& counter = own_[(place + tries) % own_counters];
      const std::uintptr_t owner = counter.owner.load(std::memory_order_relaxed);
      if (owner == thread || (owner == 0 && take(counter, thread))) return &counter;
    }
    return nullptr;
  }
  // A signal handler's section that comes in between takes another one.
  bool take(Counter& counter, std::uintptr_t thread) {
    std::uintptr_t nobody = 0;
    if (!has_thread_barrier() || !counter.owner.compare_exchange_strong(nobody, being_taken)) return false;
    counter.next = owned_.load(std::memory_order_relaxed);
    while (!owned_.compare_exchange_weak(counter.next, &counter)) continue;
    counter.owner.store(thread, std::memory_order_release);
    return true;
  }

  std::atomic<Counter*> owned_{nullptr};
  Counter shared_[shared_counters];
  Counter own_[own_counters];
};

constinit Sections first_sections;
constinit std::atomic<Sections*> current{&first_sections};

using Objects = std::vector<std::unique_ptr<const Shared_Object>>;

// What was retired, oldest first, and in which phase.
class Retired {
 public:
  void add(std::unique_ptr<const Shared_Object> object, std::size_t size, unsigned phase) {
    objects_.push_back({std::move(object), phase});
    ++new_objects_;
    new_size_ += size;
  }
  bool are_worth_a_barrier() const {
    return __libc_single_threaded != 0 || new_objects_ >= objects_for_a_barrier || new_size_ >= size_for_a_barrier;
  }
  // No section that could have seen an object is left when the phase has changed twice.
  Objects take(unsigned phase) {
    constexpr unsigned changes = 2;
    const auto end = std::find_if(objects_.begin(), objects_.end(),
                                  [&](const Object& object) { return phase - object.phase < changes; });
    Objects taken;
    std::transform(objects_.begin(), end, std::back_inserter(taken),
                   [](Object& object) { return std::move(object.object); });
    objects_.erase(objects_.begin(), end);
    new_objects_ = new_size_ = 0;
    return taken;
  }

 private:
  struct Object {
    std::unique_ptr<const Shared_Object> object;
    unsigned phase;
  };

  std::vector<Object> objects_;
  std::size_t new_objects_ = 0;  // since some were last taken
  std::size_t new_size_ = 0;
};

// Guards the phase and what is retired.
struct All_Retired {
  std::mutex mutex;
  Retired memory;
  Retired with_locks;
};

All_Retired& all_retired() {
  static All_Retired& all = *new All_Retired;
  return all;
}

// False when the former phase has sections left.
bool change_phase(Sections& sections) {
  const unsigned phase = sections.phase.load(std::memory_order_relaxed);
  const bool all_shows = !has_thread_barrier() || pass_thread_barrier();
  if (!all_shows || sections.any(phase - 1)) return false;
  sections.phase.store(phase + 1, std::memory_order_seq_cst);
  return true;
}

void retire(Retired& retired, std::unique_ptr<const Shared_Object> object, std::size_t size) {
  if (object == nullptr) return;
  Objects releasable;  // released without the mutex
  std::lock_guard lock(all_retired().mutex);
  Sections& sections = *current.load(std::memory_order_acquire);
  retired.add(std::move(object), size, sections.phase.load(std::memory_order_relaxed));
  if (!retired.are_worth_a_barrier()) return;
  // Twice: with no section left at all the object itself is released.
  if (change_phase(sections)) change_phase(sections);
  releasable = retired.take(sections.phase.load(std::memory_order_relaxed));
}

}  // namespace

Shared_Object::~Shared_Object() = default;

// Counted in a phase that ends meanwhile, a section would be overlooked: it counts itself anew.
Read_Section::Read_Section() : is_own_(true) {
  Sections& sections = *current.load(std::memory_order_acquire);
  Counter* own = sections.own();
  if (own == nullptr) {
    share(sections.phase, sections.shared().counts);
    return;
  }
  for (;;) {
    const unsigned phase = sections.phase.load(std::memory_order_relaxed);
    count_ = &own->counts[phase & 1];
    count_->store(count_->load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);  // the barrier in all threads makes it a real one
    if (sections.phase.load(std::memory_order_seq_cst) == phase) [[likely]]
      return;
    leave();
  }
}

void Read_Section::share(const std::atomic<unsigned>& current_phase, std::atomic<int>* counts) {
  is_own_ = false;
  for (;;) {
    const unsigned phase = current_phase.load(std::memory_order_relaxed);
    count_ = &counts[phase & 1];
    count_->fetch_add(1, std::memory_order_seq_cst);
    if (current_phase.load(std::memory_order_seq_cst) == phase) return;
    leave();
  }
}

void retire(std::unique_ptr<const Shared_Object> object, std::size_t size) {
  retire(all_retired().memory, std::move(object), size);
}

void retire_with_locks(std::unique_ptr<const Shared_Object> object) {
  retire(all_retired().with_locks, std::move(object), 0);
}

void hold_retired_objects() { all_retired().mutex.lock(); }

void let_go_of_retired_objects() { all_retired().mutex.unlock(); }

// Those of this thread end on the counters that they began on.
void forget_other_sections() {
  auto* fresh = new Sections;
  fresh->phase.store(current.load(std::memory_order_relaxed)->phase.load(std::memory_order_relaxed),
                     std::memory_order_relaxed);
  current.store(fresh, std::memory_order_release);
}

}  // namespace hive
