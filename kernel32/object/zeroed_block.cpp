#include "kernel32/object/zeroed_block.h"

#include <stdlib.h>

#include <new>

void* kelvane::new_zeroed_block(size_t size) {
  void* block = calloc(1, size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void kelvane::free_block(void* block) { free(block); }
