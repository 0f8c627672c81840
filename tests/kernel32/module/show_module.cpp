// Loads a module by name and prints what came of it: the module's file, or the reason of the failure.
#include <kelvane/module.h>
#include <winbase.h>

#include <cstdio>

int main(int, char** argv) {
  HMODULE module = LoadLibraryA(argv[1]);
  char path[4096] = "";
  if (module != nullptr) GetModuleFileNameA(module, path, sizeof path);
  printf("%s\n", module != nullptr ? path : KvModuleError());
  return module != nullptr ? 0 : 1;
}
