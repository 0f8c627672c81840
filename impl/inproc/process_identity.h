// Which process: a text that no other process of the machine has, before or after. It can be part of a file name.
//
//   <pid>-<time of its start in ticks>-<the machine's run>
#pragma once

#include <sys/types.h>

#include <string>

namespace impl {

// Empty when there is no such process.
std::string identity_of(pid_t pid);

// Of the calling process.
std::string own_identity();

// The id in an identity; 0 when the text is none.
pid_t pid_in(const std::string& identity);

// Whether the process has not ended, or was not waited for by its parent.
bool is_running(const std::string& identity);

}  // namespace impl
