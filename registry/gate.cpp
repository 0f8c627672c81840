// Where threads end up that call a closed registry. A parked thread may be cancelled, except while an
// exception passes through it: a second one would end the process.

#include "registry/gate.h"

#include <kelvane/critical.h>
#include <pthread.h>
#include <unistd.h>

#include <exception>

inline namespace kelvane {

void Registry_Gate::park() {
  constexpr unsigned nap_seconds = 100;
  int former;
  if (std::uncaught_exceptions() > 0) pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former);
  KvTotalUnblockKernelCritical();
  for (;;) sleep(nap_seconds);
}

}  // namespace kelvane
