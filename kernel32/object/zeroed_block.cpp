#include "kernel32/object/zeroed_block.h"

#include <stdlib.h>
#include <string.h>

#include <new>

namespace {

// Up to here malloc, which has small blocks at hand in each thread, and clearing are faster than calloc.
constexpr size_t small_size = 1024;

}  // namespace

void* kelvane::new_zeroed_block(size_t size) {
  void* block = size <= small_size ? malloc(size) : calloc(1, size);
  if (block == nullptr) throw std::bad_alloc();
  return size <= small_size ? memset(block, 0, size) : block;
}

void kelvane::free_block(void* block) { free(block); }
