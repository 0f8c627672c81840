// The computer's name as the test says: the test program defines GetComputerNameA itself.
#ifndef KELVANE_TESTS_BOOTSTRAP_COMPUTER_NAME_DOUBLE_H
#define KELVANE_TESTS_BOOTSTRAP_COMPUTER_NAME_DOUBLE_H

#include <windows.h>

namespace kvtest {

// The name that GetComputerNameA gives from now on; null makes it fail.
void name_computer(const char* name);

// The room that its last caller offered.
DWORD offered_room();

}  // namespace kvtest

#endif
