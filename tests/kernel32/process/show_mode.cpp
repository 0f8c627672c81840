// Prints the registry mode and KVREGISTRY after it was settled.
#include <kelvane/process.h>
#include <stdlib.h>

#include <cstdio>

int main() {
  unsigned mode = KvGetRegistryMode();
  const char* file = getenv("KVREGISTRY");
  printf("%u %s", mode, file != nullptr ? file : "(none)");
}
