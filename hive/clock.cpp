#include "hive/clock.h"

#include <ctime>

namespace hive {

std::uint64_t file_time_now() {
  constexpr std::uint64_t units_of_a_second = 10'000'000;
  constexpr std::uint64_t nanoseconds_of_a_unit = 100;
  constexpr std::uint64_t seconds_from_1601_to_1970 = 11'644'473'600;
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return (static_cast<std::uint64_t>(now.tv_sec) + seconds_from_1601_to_1970) * units_of_a_second +
         static_cast<std::uint64_t>(now.tv_nsec) / nanoseconds_of_a_unit;
}

}  // namespace hive
