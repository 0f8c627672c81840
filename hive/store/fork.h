// What of SQLite may cross a fork: nothing. Before a fork the opening mutex and then every hive's mutex is
// taken and connections and queue descriptors are closed; afterwards parent and child open their own at their
// next need. SQLite is called only with one of these mutexes held, so that no thread is inside it then.
#pragma once

#include <mutex>

namespace hive {

// Guards which hives there are. Taken before any hive's mutex, and never for long.
std::mutex& opening_mutex();

// Registers the handlers, once: before anything of this is used. False when the system does not.
bool guard_forks();

}  // namespace hive
