// Typed calls of the registry's implementation through the exported table KvIRegFunctions.
//
// The tool calls the table where ported programs call the fronts: names and data then cross as the registry has
// them, 16-bit units and stored bytes, and nothing is converted on the way.
#pragma once

#include <kelvane/registry_table.h>

namespace kvreg {

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

// Calls the entry of a slot, all of which are bound once the program runs.
template <Slot which, class... Arguments>
auto call(Arguments... arguments) {
  void* const entry = KvIRegFunctions[static_cast<int>(which)].entry;
  return reinterpret_cast<typename Slot_Signature<which>::type>(entry)(arguments...);
}

}  // namespace kvreg
