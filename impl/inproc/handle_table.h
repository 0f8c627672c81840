// The key handles of this process: each stands for a key of the store and the rights that were given.
#pragma once

#include <memory>
#include <utility>

#include "hive/registry.h"
#include "hive/store/fork.h"
#include "impl/handle_slots.h"

namespace impl {

class Handle_Table : public Handle_Slots {
  struct Held final : hive::Shared_Object {
    Held(hive::Key its_key, DWORD its_access) : key(std::move(its_key)), access(its_access) {}
    const hive::Key key;
    const DWORD access;
  };
  static const Held& held_of(const hive::Shared_Object& object) { return static_cast<const Held&>(object); }

 public:
  class Pin : public Handle_Slots::Pin {
   public:
    using Handle_Slots::Pin::Pin;
    const hive::Key& key() const { return held_of(held()).key; }
    DWORD access() const { return held_of(held()).access; }
  };

  class Glance : public Handle_Slots::Glance {
   public:
    using Handle_Slots::Glance::Glance;
    const hive::Key& key() const { return held_of(held()).key; }
    // The same, found without touching anything but the handle's slot.
    const hive::Open_Key& open_key() const { return *static_cast<const hive::Open_Key*>(sight().shown); }
    DWORD access() const { return sight().access; }
  };

  Handle_Table() { hive::guard_forks(); }

  // A new handle with exactly these rights; null when a million are open.
  HKEY add(hive::Key key, DWORD access) {
    const Sight sight{key.get(), access};
    return Handle_Slots::add(std::make_unique<const Held>(std::move(key), access), sight);
  }

  // The handle's pin; a false one when the handle is unknown or closed.
  Pin find(HKEY handle) { return {*this, handle}; }
};

}  // namespace impl
