// A block of bytes that grows, on the library's heap.
#pragma once

#include <windef.h>

#include <cstddef>
#include <cstring>

inline namespace kelvane {

class Value_Block {
 public:
  explicit Value_Block(std::size_t room) : room_(room), bytes_(new BYTE[room]) {}
  ~Value_Block() { delete[] bytes_; }
  Value_Block(const Value_Block&) = delete;
  Value_Block& operator=(const Value_Block&) = delete;

  BYTE* data() { return bytes_; }
  std::size_t room() const { return room_; }

  // Makes room for at least this many bytes; the first kept ones stay.
  void grow(std::size_t room, std::size_t kept) {
    if (room <= room_) return;
    BYTE* const larger = new BYTE[room];
    std::memcpy(larger, bytes_, kept);
    delete[] bytes_;
    bytes_ = larger;
    room_ = room;
  }

 private:
  std::size_t room_;
  BYTE* bytes_;
};

}  // namespace kelvane
