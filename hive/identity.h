// What tells one hive from every other, whatever file it lies in: random bytes given when it is made. Zeros are
// no hive's.
#pragma once

#include <array>

namespace hive {

using Hive_Identity = std::array<unsigned char, 16>;

}  // namespace hive
