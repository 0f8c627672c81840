// Bone and its allocation.
#include <kelvane/bone.h>
#include <kelvane/container.h>

#include "kernel32/object/zeroed_block.h"

Bone* const kelvane::Nil = nullptr;

Bone::~Bone() = default;

void Bone::delete_tree() { delete this; }

bool Bone::is_atom() const { return false; }

void Bone::write(kvostream&) const {}

void* Bone::operator new(size_t size) { return new_zeroed_block(size); }

void Bone::operator delete(void* block) { free_block(block); }

void* Bone::operator new(size_t size, Sequence* owner) {
  void* block = new_zeroed_block(size);
  if (owner == nullptr) return block;
  try {
    owner->insert(static_cast<Bone*>(block));
  } catch (...) {
    free_block(block);
    throw;
  }
  return block;
}

void Bone::operator delete(void* block, Sequence* owner) {
  if (owner != nullptr) owner->remove(static_cast<Bone*>(block));
  free_block(block);
}
