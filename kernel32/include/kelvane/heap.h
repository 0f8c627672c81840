/* The kernel heap: zeroed blocks that are never released, for use while the process ends. */
#ifndef KELVANE_HEAP_H
#define KELVANE_HEAP_H

#include <windef.h>

KV_BEGIN_C

/* Prepares the heap; may be called any number of times, with any arguments. Returns 1. */
KV_EXPORT uintptr_t KvKernelMallocInit(uintptr_t first, uintptr_t second);

/* A zeroed block of at least size bytes, aligned to 16; null when memory is short. Any thread may call it. */
KV_EXPORT void* KvKernelCalloc(size_t size);

KV_END_C

#endif
