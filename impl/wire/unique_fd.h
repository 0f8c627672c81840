// A file descriptor that is closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace impl::wire {

class Unique_Fd {
 public:
  Unique_Fd() = default;
  explicit Unique_Fd(int fd) : fd_(fd) {}
  Unique_Fd(Unique_Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Unique_Fd& operator=(Unique_Fd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Unique_Fd() {
    if (fd_ >= 0) close(fd_);
  }

  int get() const { return fd_; }
  // The caller's from now on.
  int release() { return std::exchange(fd_, -1); }
  explicit operator bool() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

}  // namespace impl::wire
