// Network connections: none. The calls are told on standard output, as they always were.

#include <winnetwk.h>

#include <cstdio>

DWORD WNetGetConnectionA(LPCSTR, LPSTR, LPDWORD) {
  std::puts("Called WNetGetConnectionA");
  return WN_NOT_SUPPORTED;
}

DWORD WNetGetUniversalNameA(LPCSTR, DWORD, LPVOID, LPDWORD) {
  std::puts("Called WNetGetUniversalNameA");
  return WN_NOT_SUPPORTED;
}
