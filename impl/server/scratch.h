// Memory for what an answer points to, until it is written.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "impl/wire/fields.h"
#include "impl/wire/unique_fd.h"

namespace impl::server {

class Scratch {
 public:
  // Room at an address for any type; not cleared.
  unsigned char* room(std::size_t size);
  wire::Bytes copy(wire::Bytes bytes);
  // The descriptor, which is closed when this is reset.
  int keep(wire::Unique_Fd fd);

  // All room is free again.
  void reset();

 private:
  static constexpr std::size_t first_size = 64 * 1024;

  std::unique_ptr<unsigned char[]> first_{new unsigned char[first_size]};
  std::size_t used_ = 0;
  std::vector<std::unique_ptr<unsigned char[]>> more_;
  std::vector<wire::Unique_Fd> descriptors_;
};

}  // namespace impl::server
