// What tells one hive from every other, whatever file it lies in: random bytes given when it is made. Zeros are
// no hive's.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace hive {

using Hive_Identity = std::array<unsigned char, 16>;

// Whether two are the same, told without a call.
inline bool is_same(const Hive_Identity& a, const Hive_Identity& b) {
  struct Halves {
    std::uint64_t first, second;
  };
  const auto one = std::bit_cast<Halves>(a);
  const auto other = std::bit_cast<Halves>(b);
  return ((one.first ^ other.first) | (one.second ^ other.second)) == 0;
}

}  // namespace hive
