// A child becomes a user without privileges, so that permissions mean something also where tests run as root.
#ifndef KELVANE_TESTS_SUPPORT_ORDINARY_USER_H
#define KELVANE_TESTS_SUPPORT_ORDINARY_USER_H

#include <grp.h>
#include <unistd.h>

namespace kvtest {

// A user and a group that own nothing of the test's.
constexpr unsigned ordinary_id = 65534;

// For a child only. True at once when it is no root. The folder of a test is closed to that user: go there
// first and use names below it.
inline bool become_ordinary_user() {
  if (geteuid() != 0) return true;
  return setgroups(0, nullptr) == 0 && setresgid(ordinary_id, ordinary_id, ordinary_id) == 0 &&
         setresuid(ordinary_id, ordinary_id, ordinary_id) == 0;
}

}  // namespace kvtest

#endif
