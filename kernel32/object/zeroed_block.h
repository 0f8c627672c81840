// The heap of the object model and the streams: the system's, zeroed. Their classes allocate here and nowhere
// else, because a library above may change its own operator new while objects are alive.
#ifndef KELVANE_KERNEL32_OBJECT_ZEROED_BLOCK_H
#define KELVANE_KERNEL32_OBJECT_ZEROED_BLOCK_H

#include <stddef.h>

inline namespace kelvane {

// Throws std::bad_alloc when memory is short.
void* new_zeroed_block(size_t size);
void free_block(void* block);

}  // namespace kelvane

#endif
