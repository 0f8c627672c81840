// The map behind assoc<V, K>: a set of pairs, which are the map's own.
#include <kelvane/pointer_map.h>

#include <memory>

#include "kernel32/object/zeroed_block.h"

namespace {

struct Pair {
  const void* key;
  void* value;
};

class Pair_Elements final : public Elem_Methods {
 public:
  const void* key(const void* element) const override { return static_cast<const Pair*>(element)->key; }
};

constexpr Pair_Elements pair_elements;

}  // namespace

Pointer_Map::Pointer_Map(const Set_Desc& descriptor, const Key_Methods& keys) : set_(descriptor(pair_elements, keys)) {}

Pointer_Map::~Pointer_Map() {
  for (size_t position = 0; position < set_->positions(); ++position) delete static_cast<Pair*>(set_->at(position));
  delete set_;
}

void* Pointer_Map::operator new(size_t size) { return new_zeroed_block(size); }

void Pointer_Map::operator delete(void* block) { free_block(block); }

bool Pointer_Map::insert(const void* key, void* value) {
  auto pair = std::make_unique<Pair>(Pair{key, value});
  if (set_->insert(pair.get(), false) != pair.get()) return false;
  pair.release();
  return true;
}

void* Pointer_Map::lookup(const void* key) const {
  const Pair* pair = static_cast<const Pair*>(set_->lookup(key));
  return pair != nullptr ? pair->value : nullptr;
}

void* Pointer_Map::remove(const void* key) {
  std::unique_ptr<Pair> pair(static_cast<Pair*>(set_->remove(key)));
  return pair != nullptr ? pair->value : nullptr;
}
