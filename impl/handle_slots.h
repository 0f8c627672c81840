// The handles of this process, and what each stands for.
//
// A handle is (generation << 20 | index) << 2, with a generation from 1 to 511: it is never small, never null
// and always below the root handles. The generation changes with every use of an index, and an index rests
// behind a thousand others before it is used again, so that a stale handle is refused.
//
// Looking a handle up takes no lock. Who may wait with the object in hand pins the handle's slot, and the last one
// to unpin a closed slot gives up what it holds; that is released soon after, in a process of several threads with
// others. A fork copies the pins of threads that are not in the child; such a slot is then never used again there. Who
// only reads glances at the object: it stays as long as the glance.
#pragma once

#include <windef.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "hive/cache/read_section.h"

namespace impl {

class Handle_Slots {
  struct Slot;

 public:
  // Of an object, what a glance sees without touching anything but the handle's slot.
  struct Sight {
    const void* shown = nullptr;
    DWORD access = 0;
  };

 private:
  struct Seen {
    const hive::Shared_Object* held = nullptr;
    Sight sight;
  };

 public:
  // A handle in use: its object stays while the pin does, also when the handle is closed meanwhile. False when the
  // handle is unknown or closed.
  class Pin {
   public:
    Pin(Handle_Slots& slots, HKEY handle);
    ~Pin();
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;

    explicit operator bool() const { return slot_ != nullptr; }
    const hive::Shared_Object& held() const;

   private:
    Handle_Slots& slots_;
    std::uint32_t index_ = 0;
    Slot* slot_ = nullptr;
  };

  class Glance {
   public:
    Glance(const Handle_Slots& slots, HKEY handle) : seen_(slots.glance_at(handle)) {}

    explicit operator bool() const { return seen_.held != nullptr; }
    const hive::Shared_Object& held() const { return *seen_.held; }
    const Sight& sight() const { return seen_.sight; }
    const hive::Read_Section& section() const { return section_; }

   private:
    hive::Read_Section section_;
    const Seen seen_;
  };

  Handle_Slots();
  ~Handle_Slots();
  Handle_Slots(const Handle_Slots&) = delete;
  Handle_Slots& operator=(const Handle_Slots&) = delete;

  // A new handle; null when a million are open.
  HKEY add(std::unique_ptr<const hive::Shared_Object> object, Sight sight);
  HKEY add(std::unique_ptr<const hive::Shared_Object> object) { return add(std::move(object), Sight()); }

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
