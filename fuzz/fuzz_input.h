// The bytes of a fuzz run as the choices they stand for. Behind their end all are 0.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

class Fuzz_Input {
 public:
  Fuzz_Input(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

  bool is_at_end() const { return left_ == 0; }
  unsigned byte() {
    if (left_ == 0) return 0;
    --left_;
    return *data_++;
  }
  unsigned word() { return byte() << 8 | byte(); }
  std::uint32_t dword() { return word() << 16 | word(); }
  // Exactly this many bytes.
  std::string bytes(std::size_t count) {
    std::string taken(reinterpret_cast<const char*>(data_), std::min(count, left_));
    data_ += taken.size();
    left_ -= taken.size();
    taken.resize(count);
    return taken;
  }
  std::string rest() { return bytes(left_); }

 private:
  const std::uint8_t* data_;
  std::size_t left_;
};

inline void check(bool holds) {
  if (!holds) __builtin_trap();
}
