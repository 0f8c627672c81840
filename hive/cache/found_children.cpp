#include "hive/cache/found_children.h"

#include <memory>
#include <string>

namespace hive {

Found_Children& Found_Children::of_process() {
  static Found_Children& children = *new Found_Children;
  return children;
}

std::size_t Found_Children::place_of(const Parent& parent, const Folded_Name& name) {
  const std::uint64_t state = (static_cast<std::uint64_t>(parent.seq) ^ parent.hive << 48) * 0x9E3779B97F4A7C15u;
  return ((state >> 32) ^ name.hash()) % places;
}

std::int64_t Found_Children::find(const Parent& parent, const Folded_Name& name) const {
  const Child* child = children_[place_of(parent, name)].load(std::memory_order_acquire);
  return child != nullptr && child->parent == parent && child->folded == name.units() ? child->number : 0;
}

void Found_Children::put(const Parent& parent, const Folded_Name& name, std::int64_t number) {
  auto child = std::make_unique<Child>();
  child->parent = parent;
  child->number = number;
  child->folded = name.units();
  std::atomic<const Child*>& place = children_[place_of(parent, name)];
  retire(std::unique_ptr<const Shared_Object>(place.exchange(child.release(), std::memory_order_acq_rel)));
}

}  // namespace hive
