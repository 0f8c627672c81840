#include "kernel32/sync/handle_table.h"

#include <pthread.h>

#include <utility>

namespace {

constexpr DWORD unused_bits = 2;
constexpr DWORD index_bits = 18;
constexpr DWORD max_entries = 1u << index_bits;
constexpr DWORD max_generation = 2047;
constexpr size_t resting_entries = 64;

HANDLE handle_of(DWORD index, DWORD generation) {
  const DWORD number = (generation << index_bits | index) << unused_bits;
  return reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(number));
}

}  // namespace

inline namespace kelvane {

Handle_Table& Handle_Table::of_process() {
  static Handle_Table& table = *new Handle_Table;
  return table;
}

// The lock is not left to a child in the middle of a change, and threads that the child lacks use nothing there.
int Handle_Table::guard_forks() {
  return pthread_atfork([] { of_process().mutex_.lock(); }, [] { of_process().mutex_.unlock(); },
                        [] {
                          of_process().forget_pins();
                          of_process().mutex_.unlock();
                        });
}

// Registered while the library is loaded: what leans on it and calls it with locks of its own held registers later, and
// takes those locks first.
const int Handle_Table::forks_guarded_ = guard_forks();

void Handle_Table::forget_pins() {
  for (Entry& entry : entries_) {
    if (entry.object != nullptr) entry.object->users_ = 1;
  }
}

// An index that has rested long enough, else a new one.
bool Handle_Table::take_index(DWORD* out_index) {
  const bool may_grow = entries_.size() < max_entries;
  if (resting_.size() > (may_grow ? resting_entries : 0)) {
    *out_index = resting_.front();
    resting_.pop_front();
    return true;
  }
  if (!may_grow) return false;
  *out_index = static_cast<DWORD>(entries_.size());
  entries_.emplace_back();
  return true;
}

HANDLE Handle_Table::add(std::unique_ptr<Kernel_Object> object, DWORD access) {
  std::lock_guard lock(mutex_);
  DWORD index = 0;
  if (!take_index(&index)) return nullptr;
  Entry& entry = entries_[index];
  entry.generation = entry.generation % max_generation + 1;
  entry.access = access;
  entry.object = object.release();
  entry.object->users_ = 1;
  return handle_of(index, entry.generation);
}

Handle_Table::Entry* Handle_Table::entry_of(HANDLE handle) {
  const auto value = reinterpret_cast<UINT_PTR>(handle);
  const auto index = static_cast<DWORD>(value >> unused_bits) & (max_entries - 1);
  if (index >= entries_.size()) return nullptr;
  Entry& entry = entries_[index];
  return entry.object != nullptr && handle_of(index, entry.generation) == handle ? &entry : nullptr;
}

Handle_Table::Pin Handle_Table::find(HANDLE handle) {
  std::lock_guard lock(mutex_);
  const Entry* entry = entry_of(handle);
  if (entry == nullptr) return {};
  ++entry->object->users_;
  return {entry->object, entry->access};
}

bool Handle_Table::close(HANDLE handle) {
  Kernel_Object* object = nullptr;
  {
    std::lock_guard lock(mutex_);
    Entry* entry = entry_of(handle);
    if (entry == nullptr) return false;
    resting_.push_back(static_cast<DWORD>(entry - entries_.data()));
    object = std::exchange(entry->object, nullptr);
  }
  let_go(object);
  return true;
}

// The last user ends the object, outside the lock: an event may wait for the lock of its folder.
void Handle_Table::let_go(Kernel_Object* object) {
  {
    std::lock_guard lock(mutex_);
    if (--object->users_ != 0) return;
  }
  delete object;
}

Handle_Table::Pin::Pin(Pin&& other) noexcept : object_(std::exchange(other.object_, nullptr)), access_(other.access_) {}

Handle_Table::Pin& Handle_Table::Pin::operator=(Pin&& other) noexcept {
  std::swap(object_, other.object_);
  std::swap(access_, other.access_);
  return *this;
}

Handle_Table::Pin::~Pin() {
  if (object_ != nullptr) of_process().let_go(object_);
}

}  // namespace kelvane
