// A ported program that puts an entry of its own into the table and looks at the library's flags.
#include <kelvane/advapi32.h>

#include <cstdio>

namespace {

constexpr int flush_slot = 14;

DWORD answer(HKEY, void*) { return 77; }

void tell_alive() { printf("alive %d\n", KvRegistryIsAlive()); }

}  // namespace

int main() {
  KvIRegFunctions[flush_slot].entry = reinterpret_cast<void*>(answer);
  printf("the program's entry %d\n", RegFlushKey(HKEY_USERS));
  printf("initialized %d ", KvRegistryIsInitialized);
  tell_alive();
  KvRegistryClosed = 1;
  tell_alive();
  KvRegistryClosed = 0;
  tell_alive();
  return 5;
}
