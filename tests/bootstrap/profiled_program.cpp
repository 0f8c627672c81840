// A ported program that says whether and with which rights it was started, and ends.
#include <kelvane/advapi32.h>
#include <sys/auxv.h>

#include <cstdio>

int main() {
  const char* const rights = getauxval(AT_SECURE) != 0 ? " with raised rights" : "";
  std::printf("%s%s\n", KvRegistryIsInitialized != 0 ? "started" : "not started", rights);
  return 0;
}
