#include "hive/store/folder_look.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace hive {
namespace {

constexpr std::int64_t nanoseconds_of_second = 1000000000;
// Several ticks of the clock that the system takes these times from.
constexpr std::int64_t settling_time = 50000000;

std::int64_t nanoseconds_of(const timespec& time) { return time.tv_sec * nanoseconds_of_second + time.tv_nsec; }

constexpr unsigned looks_between_two_by_path = 64;

std::int64_t coarse_now() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return nanoseconds_of(now);
}

File_Identity identity_of(const struct stat& found) { return {found.st_dev, found.st_ino}; }

// The time was taken before.
Folder_Look look_of(const struct stat& found, std::int64_t now) {
  const std::int64_t changed = nanoseconds_of(found.st_ctim);
  return {identity_of(found), changed, now - changed >= settling_time};
}

}  // namespace

Folder_Look look_at_folder(const std::string& folder) {
  const std::int64_t now = coarse_now();
  struct stat found;
  return stat(folder.c_str(), &found) == 0 ? look_of(found, now) : Folder_Look{};
}

void Known_Folder::move_to(const std::string& path) {
  let_go();
  path_ = path;
}

Folder_Look Known_Folder::look() {
  Folder_Look found;
  if (++looks_ % looks_between_two_by_path != 0 && look_through_descriptor(&found)) return found;
  found = look_at_folder(path_);
  if (fd_ >= 0 && found.folder == opened_ && look_through_descriptor(&found)) return found;
  let_go();
  fd_ = above_standard(open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  opened_ = found.folder;
  return found;
}

// False when it is another file's by now.
bool Known_Folder::look_through_descriptor(Folder_Look* out) {
  const std::int64_t now = coarse_now();
  struct stat found;
  if (fd_ < 0 || fstat(fd_, &found) != 0 || !(identity_of(found) == opened_)) return false;
  *out = look_of(found, now);
  return true;
}

void Known_Folder::let_go() {
  struct stat found;
  if (fd_ >= 0 && fstat(fd_, &found) == 0 && identity_of(found) == opened_) close(fd_);
  fd_ = -1;
}

}  // namespace hive
