// A thread that nobody joins, with a small stack and every signal blocked that is not a fault of its own.
#pragma once

#include <functional>

namespace hive {

// name: as tools show it, of at most 15 characters. False when there is none to be had.
bool start_small_thread(const char* name, std::function<void()> body);

}  // namespace hive
