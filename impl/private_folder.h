// A folder that is its user's alone, made when it is missing by as many processes at a time as like.
#pragma once

#include <kelvane/advapi32.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string>

namespace impl {

// An attempt gives up when another process makes a folder on the way at the same time; each finds one more.
inline bool ensure_folder(std::string& folder, struct stat* out) {
  const std::ptrdiff_t levels = std::count(folder.begin(), folder.end(), '/');
  for (std::ptrdiff_t attempt = 0; attempt <= levels; ++attempt) {
    if (insure_stat(folder.data(), out)) return true;
    if (errno != EEXIST) return false;
  }
  return false;
}

// False, with errno, when it cannot be made; ENOTDIR where something else stands. One that stands keeps its mode.
inline bool make_private_folder(std::string folder) {
  constexpr mode_t private_mode = 0700;
  struct stat found;
  const bool stood = stat(folder.c_str(), &found) == 0;
  if (!ensure_folder(folder, &found)) return false;
  if (!S_ISDIR(found.st_mode)) {
    errno = ENOTDIR;
    return false;
  }
  return stood || chmod(folder.c_str(), private_mode) == 0;
}

}  // namespace impl
