// Prints whether the program runs with raised rights, the temporary directory, and whether probe.dll is found.
// Ends at once: a sanitizer's search for leaks fails in a program with raised rights.
#include <kelvane/module.h>
#include <kelvane/process.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <cstdio>

int main() {
  std::printf("%lu %s %d\n", getauxval(AT_SECURE), KvTmpDir(0), KvModuleIsInstalled("probe.dll"));
  std::fflush(stdout);
  _exit(0);
}
