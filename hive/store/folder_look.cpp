#include "hive/store/folder_look.h"

#include <sys/stat.h>
#include <time.h>

namespace hive {
namespace {

constexpr std::int64_t nanoseconds_of_second = 1000000000;
// Several ticks of the clock that the system takes these times from.
constexpr std::int64_t settling_time = 50000000;

std::int64_t nanoseconds_of(const timespec& time) { return time.tv_sec * nanoseconds_of_second + time.tv_nsec; }

}  // namespace

Folder_Look look_at_folder(const std::string& folder) {
  struct stat found;
  timespec now{};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  if (stat(folder.c_str(), &found) != 0) return {};
  const std::int64_t changed = nanoseconds_of(found.st_ctim);
  return {{found.st_dev, found.st_ino}, changed, nanoseconds_of(now) - changed >= settling_time};
}

}  // namespace hive
