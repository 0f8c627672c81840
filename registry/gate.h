// The gate that every gated registry front passes on its way in and on its way out.
//
// Once the registry of this process is closed no front returns: the thread gives up its holds on the kernel
// critical section and sleeps for ever. A gated front is one call of gated(), whose exit check runs after every
// temporary is released, also while an exception passes.
#pragma once

#include <kelvane/advapi32.h>

#include "registry/front_trace.h"

inline namespace kelvane {

class Registry_Gate {
 public:
  Registry_Gate() {
    if (is_closed()) [[unlikely]]
      park();
  }
  // May be left by the cancellation of a parked thread.
  ~Registry_Gate() noexcept(false) {
    if (is_closed()) [[unlikely]]
      park();
  }
  Registry_Gate(const Registry_Gate&) = delete;
  Registry_Gate& operator=(const Registry_Gate&) = delete;

 private:
  static bool is_closed() { return __atomic_load_n(&KvRegistryClosed, __ATOMIC_RELAXED) != 0; }
  // Does not return.
  static void park();
};

// Runs a front's body between the two checks of the gate, as a call that tracers see.
template <class Body>
__attribute__((always_inline)) inline auto gated(HKEY key, Body body, const char* front = __builtin_FUNCTION()) {
  const Registry_Gate gate;
  return traced(key, body, front);
}

}  // namespace kelvane
