#include "impl/server/scratch.h"

#include <cstring>

namespace impl::server {

unsigned char* Scratch::room(std::size_t size) {
  constexpr std::size_t alignment = alignof(std::max_align_t);
  const std::size_t begin = (used_ + alignment - 1) / alignment * alignment;
  if (begin <= first_size && size <= first_size - begin) {
    used_ = begin + size;
    return first_.get() + begin;
  }
  more_.push_back(std::unique_ptr<unsigned char[]>(new unsigned char[size]));
  return more_.back().get();
}

wire::Bytes Scratch::copy(wire::Bytes bytes) {
  unsigned char* const to = room(bytes.size());
  if (!bytes.empty()) std::memcpy(to, bytes.data(), bytes.size());
  return {to, bytes.size()};
}

int Scratch::keep(wire::Unique_Fd fd) {
  descriptors_.push_back(std::move(fd));
  return descriptors_.back().get();
}

void Scratch::reset() {
  used_ = 0;
  more_.clear();
  descriptors_.clear();
}

}  // namespace impl::server
