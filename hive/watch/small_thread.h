// A thread that nobody joins, with a small stack and every signal blocked that is not a fault of its own.
#pragma once

#include <functional>

namespace hive {

// False when there is none to be had.
bool start_small_thread(std::function<void()> body);

}  // namespace hive
