// The library's own operator new and operator delete, in every form that the compiler may call. The export
// map keeps them private: the program's stay the program's. No type of the library is over-aligned, so the
// aligned forms are not needed.

#include <new>

#include "bootstrap/heap_switch.h"

void* operator new(std::size_t size) {
  void* block = allocate_zeroed(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate_zeroed(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate_zeroed(size); }

void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
