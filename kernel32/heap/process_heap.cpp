// The process heap and local memory: the C library's heap under its published names. There is one heap, and all
// memory is fixed: a local handle is the block's address.
#include <stdlib.h>
#include <winbase.h>
#include <winerror.h>

namespace {

// What stands for the heap; only its address counts.
char process_heap;

void* allocate(bool zeroed, SIZE_T size) {
  const size_t at_least_one = size != 0 ? size : 1;
  return zeroed ? calloc(1, at_least_one) : malloc(at_least_one);
}

}  // namespace

HANDLE WINAPI GetProcessHeap(void) { return &process_heap; }

LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
  return heap == &process_heap ? allocate((flags & HEAP_ZERO_MEMORY) != 0, size) : nullptr;
}

BOOL WINAPI HeapFree(HANDLE heap, DWORD, LPVOID block) {
  if (heap != &process_heap) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  free(block);
  return TRUE;
}

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T size) {
  void* block = allocate((flags & LMEM_ZEROINIT) != 0, size);
  if (block == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return block;
}

HLOCAL WINAPI LocalFree(HLOCAL block) {
  free(block);
  return nullptr;
}
