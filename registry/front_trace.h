// What a tracer sees of a front's call: the probes kelvane:front__entry (front, key) and kelvane:front__return
// (front, key, result, nanoseconds), see docs/tracing.md.
//
// A tracer that looks at a probe counts the semaphore of both up. While nobody looks a call reads it once and does
// nothing more: no clock, no probe. It stays zero in a build without <sys/sdt.h>.
#pragma once

#include <winreg.h>

#include <cstdint>

inline namespace kelvane {

extern "C" __attribute__((visibility("hidden"))) unsigned short kelvane_front__entry_semaphore;

inline bool is_front_watched() { return __atomic_load_n(&kelvane_front__entry_semaphore, __ATOMIC_RELAXED) != 0; }

// One call that is looked at.
class Front_Trace {
 public:
  // The name lives as long as the library.
  Front_Trace(const char* front, HKEY key);
  // An exception that passes the front has no result, and no return is told.
  void tell_return(std::int64_t result) const;

 private:
  const char* front_;
  HKEY key_;
  std::int64_t start_;  // nanoseconds of the monotonic clock
};

// Apart from the front, which stays as short as it is without.
template <class Body>
__attribute__((cold, noinline)) auto watched(const char* front, HKEY key, Body body) {
  const Front_Trace trace(front, key);
  const auto result = body();
  trace.tell_return(result);
  return result;
}

// Stands behind the parameters of a front's body, which would else be one function for both calls below. A build that
// counts what is reached has one of each: it defines the word itself.
#ifndef KV_IN_FRONT
#define KV_IN_FRONT __attribute__((always_inline))
#endif

// Runs a front's body as a call that tracers see: traced(key, [=]() KV_IN_FRONT -> LSTATUS { ... }). The front's name
// is that of the calling function. The body takes its arguments by value: by reference they would have to stand in
// memory, watched or not.
template <class Body>
__attribute__((always_inline)) inline auto traced(HKEY key, Body body, const char* front = __builtin_FUNCTION()) {
  if (is_front_watched()) [[unlikely]]
    return watched(front, key, body);
  return body();
}

}  // namespace kelvane
