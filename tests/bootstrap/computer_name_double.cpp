#include "tests/bootstrap/computer_name_double.h"

#include <cstring>

namespace {

const char* computer = "box";
DWORD room = 0;

}  // namespace

namespace kvtest {

void name_computer(const char* name) { computer = name; }

DWORD offered_room() { return room; }

}  // namespace kvtest

extern "C" KV_EXPORT BOOL WINAPI GetComputerNameA(LPSTR name, LPDWORD size) {
  room = *size;
  if (computer == nullptr) return FALSE;
  const size_t length = strlen(computer);
  if (length >= *size) return FALSE;
  memcpy(name, computer, length + 1);
  *size = static_cast<DWORD>(length);
  return TRUE;
}
