// Folders made with their parents.

#include "bootstrap/directories.h"

#include <kelvane/advapi32.h>

#include <cerrno>
#include <cstring>

inline namespace kelvane {
namespace {

constexpr unsigned tree_mode = 0755;

// The end of the parent's part of a path: the last slash with the slashes before it. Never the start.
char* parent_end(char* path, char* last_slash) {
  char* end = last_slash;
  while (end > path && end[-1] == '/') --end;
  return end;
}

}  // namespace

bool make_directories(char* path, unsigned mode) {
  if (mkdir(path, mode) == 0 || errno == EEXIST) return true;
  char* slash = std::strrchr(path, '/');
  if (slash == nullptr) {
    errno = EINVAL;
    return false;
  }
  char* end = parent_end(path, slash);
  const char cut = *end;
  *end = '\0';
  const bool parent = make_directories(path, mode);
  *end = cut;
  return parent && mkdir(path, mode) == 0;
}

bool stat_or_make(char* path, struct stat* out) {
  if (stat(path, out) == 0) return true;
  if (errno != ENOENT) return false;
  make_directories(path, tree_mode);
  return stat(path, out) == 0;
}

}  // namespace kelvane

bool recursive_mkdir(char* path, unsigned mode) { return make_directories(path, mode); }

bool insure_stat(char* path, struct stat* out) { return stat_or_make(path, out); }
