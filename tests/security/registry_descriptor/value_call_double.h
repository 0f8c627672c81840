// RegQueryValueExA, seen by the test: the test program defines it, and the dynamic linker prefers that definition.
// It goes on to the real one.
#ifndef KELVANE_TESTS_SECURITY_VALUE_CALL_DOUBLE_H
#define KELVANE_TESTS_SECURITY_VALUE_CALL_DOUBLE_H

#include <windows.h>

namespace kvtest {

struct Asked {
  bool has_size = false;
  DWORD size = 0;
  const void* data = nullptr;
};

// What the last call asked for.
Asked& last_asked();

}  // namespace kvtest

#endif
