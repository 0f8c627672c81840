// Paths of log files.
#pragma once

#include <cstddef>

inline namespace kelvane {

// Room for a path and its terminator.
inline constexpr std::size_t log_path_size = 4097;

// Append, read for pruning, and no copies for the programs that this process starts.
inline constexpr char log_open_mode[] = "a+e";

// Makes the folder of a file with mode 0755, its last level only; an existing one gets that mode too. Errors
// are ignored, and so is a folder whose name has no room.
void insure_dir(const char* path);

}  // namespace kelvane
