// Which heap the library's allocations come from. The switch happens once, at the registry's close.
#pragma once

#include <cstddef>

inline namespace kelvane {

// A zeroed block for the library's operator new: from the system's heap until the switch, from the kernel
// heap afterwards. Null when there is no memory.
void* allocate_zeroed(std::size_t size);

// What the library's operator delete does: after the switch nothing is released, wherever it came from.
void release(void* block);

}  // namespace kelvane
