// A folder is given its mode a second time after it was made, because the creation mask may have taken bits
// away.
#include "kernel32/process/private_folder.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t private_mode = 0700;
constexpr mode_t mode_of_others = 0077;

}  // namespace

bool kelvane::make_private_folder(const std::string& path) {
  if (mkdir(path.c_str(), private_mode) == 0) return chmod(path.c_str(), private_mode) == 0;
  struct stat status;
  if (errno != EEXIST || stat(path.c_str(), &status) != 0) return false;
  errno = ENOTDIR;
  return S_ISDIR(status.st_mode);
}

bool kelvane::make_private_folder_among_others(const std::string& path) {
  if (mkdir(path.c_str(), private_mode) == 0) return chmod(path.c_str(), private_mode) == 0;
  struct stat status;
  if (errno != EEXIST || lstat(path.c_str(), &status) != 0) return false;
  errno = EPERM;
  return S_ISDIR(status.st_mode) && status.st_uid == geteuid() && (status.st_mode & mode_of_others) == 0;
}
