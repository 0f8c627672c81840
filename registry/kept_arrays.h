// The heap arrays of the wide conversion objects. Each thread keeps two of the usual size for its next call, so that
// short text costs no visit to the heap. An array may be given back by another thread, and in any order.
//
// Which of the two is tried first is told by what the array is for: a call takes one for a name and one for a value,
// and neither then waits for the other.
#pragma once

#include <cstddef>

inline namespace kelvane {

enum class Array_Use { name, value };

// Stands before the bytes of an array.
struct alignas(8) Array_Head {
  bool is_usual;

  unsigned char* bytes() { return reinterpret_cast<unsigned char*>(this + 1); }
  static Array_Head* of(void* bytes) { return static_cast<Array_Head*>(bytes) - 1; }
};

constexpr std::size_t usual_array_size = 512;

// What a thread keeps. Nothing is kept before its first array and after its end.
struct Kept_Arrays {
  Array_Head* arrays[2];
  bool is_open;

  Array_Head*& usual_place(Array_Use use) { return arrays[use == Array_Use::name ? 0 : 1]; }
  Array_Head*& other_place(Array_Use use) { return arrays[use == Array_Use::name ? 1 : 0]; }
};
__attribute__((tls_model("initial-exec"))) inline constinit thread_local Kept_Arrays kept_arrays = {};

// By way of the other place, and of the heap.
unsigned char* make_array(std::size_t size, Array_Use use);
void release_array(Array_Head* array);

// At least size bytes, of unknown content.
inline unsigned char* take_array(std::size_t size, Array_Use use) {
  Array_Head*& place = kept_arrays.usual_place(use);
  Array_Head* const array = place;
  if (size > usual_array_size || array == nullptr) [[unlikely]]
    return make_array(size, use);
  place = nullptr;
  return array->bytes();
}

// Null is none.
inline void give_array(void* bytes, Array_Use use) {
  if (bytes == nullptr) return;
  Kept_Arrays& kept = kept_arrays;
  Array_Head* const array = Array_Head::of(bytes);
  if (!array->is_usual || !kept.is_open) [[unlikely]]
    return release_array(array);
  if (kept.usual_place(use) == nullptr) {
    kept.usual_place(use) = array;
  } else if (kept.other_place(use) == nullptr) {
    kept.other_place(use) = array;
  } else {
    release_array(array);
  }
}

}  // namespace kelvane
