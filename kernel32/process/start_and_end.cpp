// The once-flags of a program's start and end, and the object by which the registry is closed.
#include <kelvane/process.h>
#include <kelvane/registry_ops.h>

#include <atomic>

RegistryOps* registry_ops = nullptr;

namespace {

std::atomic<bool> start_is_claimed;
std::atomic<bool> close_was_called;

}  // namespace

int KvClaimStart() { return start_is_claimed.exchange(true) ? 0 : 1; }

void KvCloseRegistryAtEnd() {
  if (registry_ops == nullptr || close_was_called.exchange(true)) return;
  registry_ops->Close();
}
