// A program that is linked with the library and never starts it. With an argument it asks for its state.
#include <kelvane/advapi32.h>

#include <cstdio>

int main(int count, char**) {
  if (count > 1) printf("alive %d\n", KvRegistryIsAlive());
  // Keeps the library among those that are loaded.
  return lstrncmpiA("a", "b", 1) < 0 ? 5 : 6;
}
