// A plain array on the library's heap, for the length of one call.
#pragma once

#include <cstddef>

inline namespace kelvane {

template <class T>
class Array {
 public:
  explicit Array(std::size_t count) : elements_(new T[count]) {}
  ~Array() { delete[] elements_; }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  T& operator[](std::size_t index) { return elements_[index]; }
  T* data() { return elements_; }

 private:
  T* elements_;
};

}  // namespace kelvane
