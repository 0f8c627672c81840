// The state of a slot is one 64-bit word: generation in the upper half, then whether it is open, then the
// number of pins. Whoever makes it "closed, no pins" retires the slot; that happens once for each closing.
#include "impl/handle_slots.h"

#include <pthread.h>

#include <memory>
#include <mutex>
#include <utility>

namespace impl {
namespace {

constexpr std::uint64_t open_bit = 1u << 31;
constexpr std::uint64_t pin_mask = open_bit - 1;
constexpr int generation_shift = 32;
constexpr int handle_shift = 2;

// Guards the lists of free numbers. A leaf: nothing is called while it is held. Taken around a fork, so that
// the child never finds it held by a thread that it does not have.
std::mutex numbers_mutex;

bool guard_numbers_around_forks() {
  static const int result =
      pthread_atfork([] { numbers_mutex.lock(); }, [] { numbers_mutex.unlock(); }, [] { numbers_mutex.unlock(); });
  return result == 0;
}

std::uint32_t generation_of(std::uint64_t state) { return static_cast<std::uint32_t>(state >> generation_shift); }

bool is_open(std::uint64_t state, std::uint32_t generation) {
  return generation_of(state) == generation && (state & open_bit) != 0;
}

}  // namespace

struct alignas(64) Handle_Slots::Slot {
  std::atomic<std::uint64_t> state{std::uint64_t{1} << generation_shift};
  std::atomic<const hive::Shared_Object*> held{nullptr};
  // What a glance sees, of what is held.
  std::atomic<const void*> shown{nullptr};
  std::atomic<DWORD> access{0};
  std::uint32_t next_resting = 0;
};

struct Handle_Slots::Chunk {
  std::array<Slot, slots_in_chunk> slots;

  ~Chunk() {
    for (Slot& slot : slots) delete slot.held.load(std::memory_order_relaxed);
  }
};

Handle_Slots::Handle_Slots() { guard_numbers_around_forks(); }

Handle_Slots::~Handle_Slots() {
  for (std::atomic<Chunk*>& chunk : chunks_) delete chunk.load(std::memory_order_relaxed);
}

bool Handle_Slots::parse(HKEY handle, Number* out_number) {
  const auto value = reinterpret_cast<std::uintptr_t>(handle);
  const std::uintptr_t number = value >> handle_shift;
  if ((number << handle_shift) != value || (number >> index_bits) > max_generation) return false;
  out_number->index = static_cast<std::uint32_t>(number) & (max_slots - 1);
  out_number->generation = static_cast<std::uint32_t>(number >> index_bits);
  return true;
}

Handle_Slots::Slot* Handle_Slots::slot_at(std::uint32_t index) const {
  Chunk* chunk = chunks_[index / slots_in_chunk].load(std::memory_order_acquire);
  return chunk == nullptr ? nullptr : &chunk->slots[index % slots_in_chunk];
}

bool Handle_Slots::take_free_slot(std::uint32_t* out_index) {
  const std::lock_guard guard(numbers_mutex);
  const bool use_resting = resting_count_ > resting_slots || (next_unused_ == max_slots && resting_count_ > 0);
  if (use_resting) {
    *out_index = first_resting_;
    first_resting_ = slot_at(first_resting_)->next_resting;
    --resting_count_;
    return true;
  }
  if (next_unused_ == max_slots) return false;
  if (slot_at(next_unused_) == nullptr) {
    chunks_[next_unused_ / slots_in_chunk].store(new Chunk, std::memory_order_release);
  }
  *out_index = next_unused_++;
  return true;
}

HKEY Handle_Slots::add(std::unique_ptr<const hive::Shared_Object> object, Sight sight) {
  std::uint32_t index = 0;
  if (!take_free_slot(&index)) return nullptr;
  Slot& slot = *slot_at(index);
  slot.shown.store(sight.shown, std::memory_order_relaxed);
  slot.access.store(sight.access, std::memory_order_relaxed);
  slot.held.store(object.release(), std::memory_order_release);
  const std::uint64_t state = slot.state.load(std::memory_order_relaxed);
  slot.state.store(state | open_bit, std::memory_order_release);
  const std::uintptr_t number = std::uintptr_t{generation_of(state)} << index_bits | index;
  return reinterpret_cast<HKEY>(number << handle_shift);
}

Handle_Slots::Pin::Pin(Handle_Slots& slots, HKEY handle) : slots_(slots) {
  Number number{};
  Slot* slot = parse(handle, &number) ? slots.slot_at(number.index) : nullptr;
  if (slot == nullptr) return;
  std::uint64_t state = slot->state.load(std::memory_order_relaxed);
  while (is_open(state, number.generation)) {
    if (slot->state.compare_exchange_weak(state, state + 1, std::memory_order_acquire, std::memory_order_relaxed)) {
      index_ = number.index;
      slot_ = slot;
      return;
    }
  }
}

// The slot may have been given to another handle between the two looks at its state.
Handle_Slots::Seen Handle_Slots::glance_at(HKEY handle) const {
  Number number{};
  const Slot* slot = parse(handle, &number) ? slot_at(number.index) : nullptr;
  if (slot == nullptr || !is_open(slot->state.load(std::memory_order_acquire), number.generation)) return {};
  const Seen seen{slot->held.load(std::memory_order_acquire),
                  {slot->shown.load(std::memory_order_acquire), slot->access.load(std::memory_order_acquire)}};
  return is_open(slot->state.load(std::memory_order_acquire), number.generation) ? seen : Seen{};
}

bool Handle_Slots::close(HKEY handle) {
  Number number{};
  Slot* slot = parse(handle, &number) ? slot_at(number.index) : nullptr;
  if (slot == nullptr) return false;
  std::uint64_t state = slot->state.load(std::memory_order_relaxed);
  while (is_open(state, number.generation)) {
    if (slot->state.compare_exchange_weak(state, state & ~open_bit, std::memory_order_acq_rel,
                                          std::memory_order_relaxed)) {
      if ((state & pin_mask) == 0) retire(number.index, *slot);
      return true;
    }
  }
  return false;
}

// Alone with the slot: nobody pins a closed one.
void Handle_Slots::retire(std::uint32_t index, Slot& slot) {
  std::unique_ptr<const hive::Shared_Object> held(slot.held.exchange(nullptr, std::memory_order_acq_rel));
  const std::uint32_t used = generation_of(slot.state.load(std::memory_order_relaxed));
  const std::uint64_t next = used == max_generation ? 1 : used + 1;
  slot.state.store(next << generation_shift, std::memory_order_relaxed);
  rest(index);
  hive::retire_with_locks(std::move(held));
}

void Handle_Slots::rest(std::uint32_t index) {
  const std::lock_guard guard(numbers_mutex);
  if (resting_count_++ == 0) {
    first_resting_ = index;
  } else {
    slot_at(last_resting_)->next_resting = index;
  }
  last_resting_ = index;
}

Handle_Slots::Pin::~Pin() {
  if (slot_ == nullptr) return;
  const std::uint64_t before = slot_->state.fetch_sub(1, std::memory_order_acq_rel);
  const bool last_of_closed = (before & open_bit) == 0 && (before & pin_mask) == 1;
  if (last_of_closed) slots_.retire(index_, *slot_);
}

const hive::Shared_Object& Handle_Slots::Pin::held() const { return *slot_->held.load(std::memory_order_relaxed); }

}  // namespace impl
