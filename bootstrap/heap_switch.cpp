// The switch from the system's heap to the kernel heap.

#include "bootstrap/heap_switch.h"

#include <kelvane/advapi32.h>
#include <kelvane/heap.h>

#include <cstdlib>

int KvDllUseMalloc = 1;

uintptr_t KvDllNoMoreMalloc(uintptr_t first, uintptr_t second) {
  const uintptr_t prepared = KvKernelMallocInit(first, second);
  __atomic_store_n(&KvDllUseMalloc, 0, __ATOMIC_RELEASE);
  return prepared;
}

int KvSafeToUseMalloc(void) { return __atomic_load_n(&KvDllUseMalloc, __ATOMIC_ACQUIRE); }

inline namespace kelvane {
namespace {

bool uses_malloc() { return __atomic_load_n(&KvDllUseMalloc, __ATOMIC_ACQUIRE) != 0; }

}  // namespace

void* allocate_zeroed(std::size_t size) { return uses_malloc() ? std::calloc(size, 1) : KvKernelCalloc(size); }

void release(void* block) {
  if (block != nullptr && uses_malloc()) std::free(block);
}

}  // namespace kelvane
