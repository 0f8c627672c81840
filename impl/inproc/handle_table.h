// The key handles of this process.
//
// A handle is (generation << 20 | index) << 2, with a generation from 1 to 511: it is never small, never null
// and always below the root handles. The generation changes with every use of an index, and an index rests
// behind a thousand others before it is used again, so that a stale handle is refused.
//
// Looking a handle up takes no lock. Who may wait with the key in hand pins the handle's slot, and the last one
// to unpin a closed slot gives its key up; it is released soon after, in a process of several threads with others. A
// fork copies the pins of threads that are not in the child; such a slot is then never used again there. Who only reads
// glances at the key: it stays as long as the glance.
#pragma once

#include <windef.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <utility>

#include "hive/cache/read_section.h"
#include "hive/registry.h"

namespace impl {

class Handle_Table {
  struct Slot;

  struct Held final : hive::Shared_Object {
    Held(hive::Key its_key, DWORD its_access) : key(std::move(its_key)), access(its_access) {}
    const hive::Key key;
    const DWORD access;
  };

  struct Seen {
    const Held* held = nullptr;
    const hive::Open_Key* key = nullptr;
    DWORD access = 0;
  };

 public:
  // A handle in use: its key stays while the pin does, also when the handle is closed meanwhile.
  class Pin {
   public:
    Pin(Handle_Table* table, std::uint32_t index, Slot* slot) : table_(table), index_(index), slot_(slot) {}
    ~Pin();
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;

    explicit operator bool() const { return slot_ != nullptr; }
    const hive::Key& key() const;
    DWORD access() const;

   private:
    Handle_Table* table_;
    std::uint32_t index_;
    Slot* slot_;
  };

  class Glance {
   public:
    Glance(const Handle_Table& table, HKEY handle) : seen_(table.glance_at(handle)) {}

    explicit operator bool() const { return seen_.held != nullptr; }
    const hive::Key& key() const { return seen_.held->key; }
    // The same, found without touching anything but the handle's slot.
    const hive::Open_Key& open_key() const { return *seen_.key; }
    DWORD access() const { return seen_.access; }
    const hive::Read_Section& section() const { return section_; }

   private:
    hive::Read_Section section_;
    const Seen seen_;
  };

  Handle_Table();
  ~Handle_Table();
  Handle_Table(const Handle_Table&) = delete;
  Handle_Table& operator=(const Handle_Table&) = delete;

  // A new handle with exactly these rights; null when a million are open.
  HKEY add(hive::Key key, DWORD access);

  // The handle's pin; a false one when the handle is unknown or closed.
  Pin find(HKEY handle);

  // False when the handle is unknown or closed.
  bool close(HKEY handle);

 private:
  static constexpr std::uint32_t index_bits = 20;
  static constexpr std::uint32_t max_generation = 511;
  static constexpr std::uint32_t slots_in_chunk = 256;
  static constexpr std::uint32_t max_slots = 1u << index_bits;
  static constexpr std::uint32_t resting_slots = 1024;

  struct Chunk;
  struct Number {
    std::uint32_t index;
    std::uint32_t generation;
  };

  static bool parse(HKEY handle, Number* out_number);
  Slot* slot_at(std::uint32_t index) const;
  Seen glance_at(HKEY handle) const;
  bool take_free_slot(std::uint32_t* out_index);
  void retire(std::uint32_t index, Slot& slot);
  void rest(std::uint32_t index);

  std::array<std::atomic<Chunk*>, max_slots / slots_in_chunk> chunks_{};  // made as needed, released with the table

  // Indexes that rest, oldest first, and the lowest never used; under the mutex of the numbers.
  std::uint32_t first_resting_ = 0;
  std::uint32_t last_resting_ = 0;
  std::uint32_t resting_count_ = 0;
  std::uint32_t next_unused_ = 0;
};

}  // namespace impl
