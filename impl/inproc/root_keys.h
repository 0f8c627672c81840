// The root keys: handles that every process has without opening them.
//
// Each root is opened at its first use and kept under a handle of its own, so that listing below a root keeps
// its place.
#pragma once

#include <windef.h>

#include <array>
#include <atomic>

#include "hive/registry.h"
#include "impl/inproc/handle_table.h"
#include "impl/inproc/root_handles.h"

namespace impl {

class Root_Keys {
 public:
  Root_Keys(hive::Registry& registry, Handle_Table& handles) : registry_(registry), handles_(handles) {}

  // Calls operation(key, access) with the root's key and all rights.
  template <class Operation>
  hive::Status use(hive::Root root, Operation operation) {
    for (;;) {
      HKEY handle = nullptr;
      if (hive::Status status = handle_of(root, &handle); status != hive::Status::ok) return status;
      if (const Handle_Table::Pin pin = handles_.find(handle)) return operation(pin.key(), pin.access());
      forget(root, handle);  // somebody closed a number that was never handed out
    }
  }

 private:
  hive::Status handle_of(hive::Root root, HKEY* out_handle);
  void forget(hive::Root root, HKEY handle);

  std::atomic<HKEY>& kept(hive::Root root) { return kept_[static_cast<std::size_t>(root)]; }

  hive::Registry& registry_;
  Handle_Table& handles_;
  std::array<std::atomic<HKEY>, static_cast<std::size_t>(hive::Root::performance) + 1> kept_{};
};

}  // namespace impl
