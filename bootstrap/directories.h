// Folders made with their parents, for the library's own use: what recursive_mkdir and insure_stat export.
#pragma once

#include <sys/stat.h>

inline namespace kelvane {

// True when the directory was made, stands already, or anything stands under the name. errno tells why not.
// The path is cut while the call runs and restored.
bool make_directories(char* path, unsigned mode);

// stat, after making the path as a directory tree when nothing stands there.
bool stat_or_make(char* path, struct stat* out);

}  // namespace kelvane
