// The change numbers as calls use them.
#pragma once

#include "impl/server/core.h"

namespace impl::server {

// Before a read: the number under which its answer may be kept; 0: under none.
inline std::uint64_t number_for(Caller& caller, const hive::Key& key) {
  return caller.is_in_batch() ? 0 : caller.core.changes().number_for(key);
}

// Before the key is changed, or something below it is made. What a batch does is a change of everything when it is
// committed.
inline void announce_change(Caller& caller, const hive::Key& key) {
  if (!caller.is_in_batch()) caller.core.changes().will_change(key);
}
inline void announce_change_below(Caller& caller, const hive::Key& key) {
  if (!caller.is_in_batch()) caller.core.changes().will_change_below(key);
}

}  // namespace impl::server
