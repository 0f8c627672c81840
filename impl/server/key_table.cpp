#include "impl/server/key_table.h"

#include <utility>

namespace impl::server {

std::uint32_t Key_Table::add(hive::Key key, DWORD access) {
  if (is_full()) return 0;
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

const Held_Key* Key_Table::find(std::uint32_t handle) const {
  const std::uint32_t index = handle & ((1u << index_bits) - 1);
  if (index >= slots_.size()) return nullptr;
  const Slot& slot = slots_[index];
  return slot.held.key != nullptr && slot.generation == handle >> index_bits ? &slot.held : nullptr;
}

hive::Key Key_Table::remove(std::uint32_t handle) {
  if (find(handle) == nullptr) return nullptr;
  const std::uint32_t index = handle & ((1u << index_bits) - 1);
  Slot& slot = slots_[index];
  slot.generation = slot.generation == max_generation ? 1 : slot.generation + 1;
  slot.next_free = first_free_;
  first_free_ = index + 1;
  --open_;
  return std::exchange(slot.held.key, nullptr);
}

std::vector<hive::Key> Key_Table::all() const {
  std::vector<hive::Key> keys;
  for (const Slot& slot : slots_) {
    if (slot.held.key != nullptr) keys.push_back(slot.held.key);
  }
  return keys;
}

}  // namespace impl::server
