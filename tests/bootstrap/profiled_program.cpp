// A ported program that says one word and ends.
#include <kelvane/advapi32.h>

#include <cstdio>

int main() {
  std::puts(KvRegistryIsInitialized != 0 ? "started" : "not started");
  return 0;
}
