// Arrays from and to the heap, and the end of what a thread keeps.

#include "registry/kept_arrays.h"

#include <new>
#include <utility>

#include "bootstrap/heap_switch.h"

inline namespace kelvane {
namespace {

// Made in a thread by its first array that is given back.
class End_Of_Thread {
 public:
  End_Of_Thread() { kept_arrays.is_open = true; }
  ~End_Of_Thread() {
    kept_arrays.is_open = false;
    for (Array_Head*& place : kept_arrays.arrays) release(std::exchange(place, nullptr));
  }
  End_Of_Thread(const End_Of_Thread&) = delete;
  End_Of_Thread& operator=(const End_Of_Thread&) = delete;
};

}  // namespace

unsigned char* make_array(std::size_t size, Array_Use use) {
  const bool is_usual = size <= usual_array_size;
  Array_Head* const other = is_usual ? std::exchange(kept_arrays.other_place(use), nullptr) : nullptr;
  if (other != nullptr) return other->bytes();
  void* const block = allocate_zeroed(sizeof(Array_Head) + (is_usual ? usual_array_size : size));
  if (block == nullptr) throw std::bad_alloc();
  auto* const array = static_cast<Array_Head*>(block);
  array->is_usual = is_usual;
  return array->bytes();
}

void release_array(Array_Head* array) {
  if (array->is_usual && !kept_arrays.is_open) {
    static thread_local const End_Of_Thread end;
    if (kept_arrays.is_open) return give_array(array->bytes(), Array_Use::name);
  }
  release(array);
}

}  // namespace kelvane
