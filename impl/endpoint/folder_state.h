// What a folder's mode says to who keeps an endpoint in it, and to who looks for one there.
#pragma once

#include <sys/stat.h>

namespace impl {

// Others may write to the folder or the file.
inline bool is_writable_by_others(const struct stat& state) { return (state.st_mode & (S_IWGRP | S_IWOTH)) != 0; }

// In a folder that others may write to: nobody removes or renames what another one has there.
inline bool keeps_files_apart(const struct stat& folder) { return (folder.st_mode & S_ISVTX) != 0; }

}  // namespace impl
