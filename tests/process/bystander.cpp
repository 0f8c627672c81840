// A ported program that never touches the registry: 5 when its registry is alive.
#include <kelvane/advapi32.h>

int main() { return KvRegistryIsAlive() == 1 ? 5 : 6; }
