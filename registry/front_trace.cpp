// The two probes, each at one place in the library whatever the number of fronts.

#include "registry/front_trace.h"

#include <time.h>

#if __has_include(<sys/sdt.h>)
#define _SDT_HAS_SEMAPHORES 1
#include <sys/sdt.h>
#define KV_PROBES 1
#else
#define KV_PROBES 0
#endif

inline namespace kelvane {

// One semaphore under the two names that the probes ask for.
extern "C" {
__attribute__((section(".probes"), used)) unsigned short kelvane_front__entry_semaphore = 0;
__attribute__((visibility("hidden"),
               alias("kelvane_front__entry_semaphore"))) extern unsigned short kelvane_front__return_semaphore;
}

namespace {

std::int64_t now() {
  constexpr std::int64_t nanoseconds_per_second = 1'000'000'000;
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * nanoseconds_per_second + time.tv_nsec;
}

}  // namespace

Front_Trace::Front_Trace(const char* front, HKEY key) : front_(front), key_(key) {
#if KV_PROBES
  STAP_PROBE2(kelvane, front__entry, front, key);
#endif
  start_ = now();
}

void Front_Trace::tell_return([[maybe_unused]] std::int64_t result) const {
  [[maybe_unused]] const std::int64_t nanoseconds = now() - start_;
#if KV_PROBES
  STAP_PROBE4(kelvane, front__return, front_, key_, result, nanoseconds);
#endif
}

}  // namespace kelvane
