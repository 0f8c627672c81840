// Arrays from and to the heap, and the end of what a thread keeps.

#include "registry/kept_arrays.h"

#include <utility>

inline namespace kelvane {
namespace {

void to_heap(Array_Head* array) { delete[] reinterpret_cast<unsigned char*>(array); }

// Made in a thread by its first array that is given back.
class End_Of_Thread {
 public:
  End_Of_Thread() { kept_arrays.is_open = true; }
  ~End_Of_Thread() {
    kept_arrays.is_open = false;
    for (Array_Head*& place : kept_arrays.arrays) to_heap(std::exchange(place, nullptr));
  }
  End_Of_Thread(const End_Of_Thread&) = delete;
  End_Of_Thread& operator=(const End_Of_Thread&) = delete;
};

}  // namespace

unsigned char* make_array(std::size_t size, Array_Use use) {
  const bool is_usual = size <= usual_array_size;
  Array_Head* const other = is_usual ? std::exchange(kept_arrays.other_place(use), nullptr) : nullptr;
  if (other != nullptr) return other->bytes();
  auto* const block = new unsigned char[sizeof(Array_Head) + (is_usual ? usual_array_size : size)];
  auto* const array = reinterpret_cast<Array_Head*>(block);
  array->is_usual = is_usual;
  return array->bytes();
}

void release_array(Array_Head* array) {
  if (array->is_usual && !kept_arrays.is_open) {
    static thread_local const End_Of_Thread end;
    if (kept_arrays.is_open) return give_array(array->bytes(), Array_Use::name);
  }
  to_heap(array);
}

}  // namespace kelvane
