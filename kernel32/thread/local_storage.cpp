// Thread-local storage. The process keeps a generation for each index: odd while it is allocated, one higher
// at each change. A thread keeps its values in one block, each with the generation it was set under; a value
// of an earlier life of its index is null. The block is made when the thread first sets a value and released
// at its end.
#include <pthread.h>
#include <stdlib.h>
#include <winbase.h>
#include <winerror.h>

#include <atomic>

namespace {

constexpr DWORD index_count = 1088;

struct Value {
  void* value;
  uint64_t generation; /* 0 while nothing was set */
};

constinit std::atomic<uint64_t> generations[index_count] = {};

bool is_allocated(uint64_t generation) { return generation % 2 != 0; }

// The index's generation; 0 for an index that is not allocated.
uint64_t allocated_generation(DWORD index) {
  if (index >= index_count) return 0;
  const uint64_t generation = generations[index].load(std::memory_order_acquire);
  return is_allocated(generation) ? generation : 0;
}

pthread_key_t make_key() {
  pthread_key_t key = 0;
  if (pthread_key_create(&key, free) != 0) abort();
  return key;
}

pthread_key_t values_key() {
  static const pthread_key_t key = make_key();
  return key;
}

Value* values_of_thread() { return static_cast<Value*>(pthread_getspecific(values_key())); }

// Null when memory is short.
Value* make_values_of_thread() {
  void* values = calloc(index_count, sizeof(Value));
  if (values != nullptr && pthread_setspecific(values_key(), values) != 0) {
    free(values);
    return nullptr;
  }
  return static_cast<Value*>(values);
}

BOOL fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

}  // namespace

DWORD TlsAlloc() {
  for (DWORD index = 0; index < index_count; ++index) {
    uint64_t generation = generations[index].load(std::memory_order_relaxed);
    if (is_allocated(generation)) continue;
    if (generations[index].compare_exchange_strong(generation, generation + 1)) return index;
  }
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return TLS_OUT_OF_INDEXES;
}

BOOL TlsSetValue(DWORD index, LPVOID value) {
  const uint64_t generation = allocated_generation(index);
  if (generation == 0) return fail(ERROR_INVALID_PARAMETER);
  Value* values = values_of_thread();
  if (values == nullptr) values = make_values_of_thread();
  if (values == nullptr) return fail(ERROR_NOT_ENOUGH_MEMORY);
  values[index] = {value, generation};
  return TRUE;
}

LPVOID TlsGetValue(DWORD index) {
  const uint64_t generation = allocated_generation(index);
  if (generation == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  SetLastError(ERROR_SUCCESS);
  const Value* values = values_of_thread();
  return values != nullptr && values[index].generation == generation ? values[index].value : nullptr;
}

BOOL TlsFree(DWORD index) {
  uint64_t generation = allocated_generation(index);
  if (generation == 0) return fail(ERROR_INVALID_PARAMETER);
  const bool freed = generations[index].compare_exchange_strong(generation, generation + 1);
  return freed ? TRUE : fail(ERROR_INVALID_PARAMETER);
}
