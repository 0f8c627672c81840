// What a watcher of keys is told, and by whom.
#pragma once

#include <cstdint>

namespace hive {

// Ways in which a key changes; they are added up.
using Ways = std::uint32_t;
inline constexpr Ways way_name = 1;        // a sub-key was made or removed
inline constexpr Ways way_attributes = 2;  // mode, owner or group were set
inline constexpr Ways way_last_set = 4;    // a value was set or removed
inline constexpr Ways way_security = 8;    // the same as attributes: rights are all there is of either
inline constexpr Ways all_ways = way_name | way_attributes | way_last_set | way_security;

// Who is told. Told once, from any thread, with no mutex held; never by a forked child of the process that watches.
class Watch_Target {
 public:
  virtual ~Watch_Target() = default;
  virtual void signal() = 0;
};

}  // namespace hive
