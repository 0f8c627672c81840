// The test program's own file calls, which the dynamic linker prefers: each does what the system's does, counts, and
// fails once when it is told to.
#ifndef KELVANE_TESTS_REGISTRY_FILE_DOUBLES_H
#define KELVANE_TESTS_REGISTRY_FILE_DOUBLES_H

#include <string>

namespace kvtest {

// The next call fails with this error; what it was to do is done all the same where that can be.
struct File_Fault {
  std::string call;  // "open", "write", "close" or "rename"; none when empty
  int error = 0;
};
File_Fault& file_fault();

// Calls of write since it was set to 0.
int& write_calls();

}  // namespace kvtest

#endif
