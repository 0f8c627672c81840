// Cutting a log file down to its tail.
#pragma once

#include <sys/types.h>

#include <cstdio>

inline namespace kelvane {

// Replaces the log by what follows the first whole record header behind the place from_end, which is relative
// to the log's end. The stream of the new file, and the old one is closed; or null, and the old one is good
// for appending: there was no header, or the new file could not be made.
FILE* prune_log(FILE* log, const char* name, off_t from_end);

}  // namespace kelvane
