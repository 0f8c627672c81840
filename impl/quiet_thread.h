// Threads of this library inside a program: they take none of its signals, and nobody waits for their end.
#pragma once

#include <functional>

namespace impl {

// False when the system has no room for another thread. name has at most 15 characters.
bool start_quiet_thread(const char* name, std::function<void()> body);

}  // namespace impl
