// The time as the registry tells it.
#pragma once

#include <cstdint>

namespace hive {

// Now, in units of 100 ns since the first of January 1601, UTC.
std::uint64_t file_time_now();

}  // namespace hive
