// Unique file names from the computer, the process and a counter.

#include "registry/unique_name.h"

#include <unistd.h>
#include <winbase.h>

#include <cstdio>

inline namespace kelvane {
namespace {

constexpr DWORD computer_name_room = 65;
LONG counter = 0;

void get_computer_name(char (&name)[computer_name_room]) {
  DWORD size = computer_name_room;
  if (GetComputerNameA(name, &size) == FALSE) std::snprintf(name, 64, "unknown");
}

}  // namespace
}  // namespace kelvane

int KvCreateUniqFileName(char* destination, unsigned long capacity, const char* base) {
  char computer[computer_name_room];
  get_computer_name(computer);
  const LONG number = InterlockedIncrement(&counter);
  return std::snprintf(destination, capacity, "%s.%s.%d_%d", base, computer, static_cast<int>(getpid()), number);
}
