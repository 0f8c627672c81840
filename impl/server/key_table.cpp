#include "impl/server/key_table.h"

#include <utility>

namespace impl::server {

std::uint32_t Key_Table::add(hive::Key key, DWORD access) {
  const std::lock_guard lock(mutex_);
  if (open_ == wire::max_handles) return 0;
  if (first_free_ == 0) {
    slots_.emplace_back();
    first_free_ = static_cast<std::uint32_t>(slots_.size());
  }
  const std::uint32_t index = first_free_ - 1;
  Slot& slot = slots_[index];
  first_free_ = slot.next_free;
  slot.held = {std::move(key), access};
  ++open_;
  return slot.generation << index_bits | index;
}

Key_Table::Slot* Key_Table::slot_of(std::uint32_t handle) {
  const std::uint32_t index = handle & ((1u << index_bits) - 1);
  if (index >= slots_.size()) return nullptr;
  Slot& slot = slots_[index];
  return slot.held.key != nullptr && slot.generation == handle >> index_bits ? &slot : nullptr;
}

std::optional<Held_Key> Key_Table::find(std::uint32_t handle) {
  const std::lock_guard lock(mutex_);
  const Slot* const slot = slot_of(handle);
  return slot == nullptr ? std::nullopt : std::optional(slot->held);
}

bool Key_Table::is_full() const {
  const std::lock_guard lock(mutex_);
  return open_ == wire::max_handles;
}

hive::Key Key_Table::remove(std::uint32_t handle) {
  const std::lock_guard lock(mutex_);
  Slot* const slot = slot_of(handle);
  if (slot == nullptr) return nullptr;
  slot->generation = slot->generation == max_generation ? 1 : slot->generation + 1;
  slot->next_free = first_free_;
  first_free_ = static_cast<std::uint32_t>(slot - slots_.data()) + 1;
  --open_;
  return std::exchange(slot->held.key, nullptr);
}

std::vector<hive::Key> Key_Table::all() const {
  const std::lock_guard lock(mutex_);
  std::vector<hive::Key> keys;
  for (const Slot& slot : slots_) {
    if (slot.held.key != nullptr) keys.push_back(slot.held.key);
  }
  return keys;
}

}  // namespace impl::server
