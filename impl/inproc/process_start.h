// When a process was started, which tells it from others that had its number.
#pragma once

#include <sys/types.h>

#include <string>

namespace impl {

// In ticks since the machine's start; empty when there is no such process.
std::string start_of_process(pid_t pid);

}  // namespace impl
