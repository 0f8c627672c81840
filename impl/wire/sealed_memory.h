// Data that is too long for a message: a memory file whose content nobody can change any more.
#pragma once

#include <cstddef>

#include "impl/wire/fields.h"
#include "impl/wire/unique_fd.h"

namespace impl::wire {

// A sealed file with the bytes; none, with errno, when the system has no room for it.
Unique_Fd seal(Bytes bytes);

// The bytes of a sealed file that a peer sent, as long as this lives.
class Sealed_Bytes {
 public:
  // Takes only a file of memory that can no longer be written or made shorter: any other could change or hang while it
  // is read. At most `most` bytes.
  Sealed_Bytes(int fd, std::size_t most);
  ~Sealed_Bytes();
  Sealed_Bytes(const Sealed_Bytes&) = delete;
  Sealed_Bytes& operator=(const Sealed_Bytes&) = delete;

  // Why there are none: 0, EPERM (not sealed memory), EFBIG, or what the system said.
  int error() const { return error_; }
  Bytes bytes() const { return {static_cast<const unsigned char*>(address_), size_}; }

 private:
  int error_ = 0;
  void* address_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace impl::wire
