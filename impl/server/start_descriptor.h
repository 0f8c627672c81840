// A file descriptor with one owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace impl {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { reset(); }

  void reset() {
    if (number_ != -1) close(std::exchange(number_, -1));
  }
  explicit operator bool() const { return number_ != -1; }
  int number() const { return number_; }

 private:
  int number_ = -1;
};

}  // namespace impl
