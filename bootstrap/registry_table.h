// The implementation table as data, and the typed call through it.
#pragma once

#include <kelvane/registry_table.h>

inline namespace kelvane {

// A slot by its entry's name; the value is its row.
enum class Slot : int {
#define KV_SLOT(number, name, result, parameters, arguments) name = number,
#include <kelvane/registry_slots.def>
#undef KV_SLOT
};

template <Slot>
struct Slot_Signature;

#define KV_SLOT(number, name, result, parameters, arguments) \
  template <>                                                \
  struct Slot_Signature<Slot::name> {                        \
    using type = result(*) parameters;                       \
  };
#include <kelvane/registry_slots.def>
#undef KV_SLOT

inline bool is_bound(Slot which) { return KvIRegFunctions[static_cast<int>(which)].entry != nullptr; }

// Calls the entry that is bound to a slot. The only place where an entry's address becomes a function; the
// table must have been filled.
template <Slot which, class... Arguments>
inline auto slot(Arguments... arguments) {
  void* entry = KvIRegFunctions[static_cast<int>(which)].entry;
  return reinterpret_cast<typename Slot_Signature<which>::type>(entry)(arguments...);
}

}  // namespace kelvane
