// The key handles of one session. Any thread may use them.
//
// A handle is generation << 17 | index, with a generation from 1 on that changes with each use of an index, so that a
// stale handle is refused; it is never 0 and always below the root handles.
#pragma once

#include <windef.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "hive/registry.h"
#include "impl/wire/names.h"

namespace impl::server {

struct Held_Key {
  hive::Key key;
  DWORD access = 0;
};

class Key_Table {
 public:
  // 0 when as many are open as a session may have.
  std::uint32_t add(hive::Key key, DWORD access);
  // None when the handle is unknown or closed.
  std::optional<Held_Key> find(std::uint32_t handle);
  // What the handle stood for; a null key when it is unknown.
  hive::Key remove(std::uint32_t handle);

  bool is_full() const;
  std::vector<hive::Key> all() const;

 private:
  static constexpr int index_bits = 17;
  static constexpr std::uint32_t max_generation = (1u << 14) - 1;
  static_assert(wire::max_handles <= 1u << index_bits);

  struct Slot {
    Held_Key held;
    std::uint32_t generation = 1;
    std::uint32_t next_free = 0;
  };

  // With the mutex.
  Slot* slot_of(std::uint32_t handle);

  mutable std::mutex mutex_;
  std::vector<Slot> slots_;
  std::uint32_t first_free_ = 0;  // its index plus 1; 0 for none
  std::size_t open_ = 0;
};

}  // namespace impl::server
