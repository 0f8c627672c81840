// A block of memory whose last byte is followed, or whose first byte is preceded, by a page that nobody may touch:
// an access one byte too far ends the test.
#ifndef KELVANE_TESTS_SUPPORT_GUARDED_BLOCK_H
#define KELVANE_TESTS_SUPPORT_GUARDED_BLOCK_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <vector>

namespace kvtest {

class Guarded_Block {
 public:
  enum Side { guard_behind, guard_before };

  // size bytes of the value fill, at most what whole pages hold.
  explicit Guarded_Block(size_t size, Side side = guard_behind, unsigned char fill = 0xAA)
      : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))), inner_((size + page_ - 1) / page_ * page_), size_(size) {
    void* map = mmap(nullptr, inner_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) throw std::runtime_error("mmap");
    map_ = static_cast<unsigned char*>(map);
    unsigned char* start = map_ + page_;
    if (inner_ != 0 && mprotect(start, inner_, PROT_READ | PROT_WRITE) != 0) throw std::runtime_error("mprotect");
    data_ = side == guard_behind ? start + inner_ - size : start;
    memset(data_, fill, size);
  }
  // The same around a copy of these bytes.
  explicit Guarded_Block(const std::vector<unsigned char>& bytes, Side side = guard_behind)
      : Guarded_Block(bytes.size(), side) {
    if (!bytes.empty()) memcpy(data_, bytes.data(), bytes.size());
  }
  ~Guarded_Block() { munmap(map_, inner_ + 2 * page_); }
  Guarded_Block(const Guarded_Block&) = delete;
  Guarded_Block& operator=(const Guarded_Block&) = delete;

  unsigned char* data() { return data_; }
  size_t size() const { return size_; }
  std::vector<unsigned char> bytes() const { return {data_, data_ + size_}; }

  // From now on the block may only be read.
  void make_read_only() { mprotect(map_ + page_, inner_, PROT_READ); }

 private:
  size_t page_;
  size_t inner_;
  size_t size_;
  unsigned char* map_;
  unsigned char* data_;
};

}  // namespace kvtest

#endif
