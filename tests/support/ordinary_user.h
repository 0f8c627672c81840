// A child becomes a user without privileges, so that permissions mean something also where tests run as root.
#ifndef KELVANE_TESTS_SUPPORT_ORDINARY_USER_H
#define KELVANE_TESTS_SUPPORT_ORDINARY_USER_H

#include <grp.h>
#include <unistd.h>

namespace kvtest {

// A user and a group that own nothing of the test's.
constexpr unsigned ordinary_id = 65534;

// For a child of root only. The folder of a test is closed to that user: go there first and use names below it.
inline bool become_user(unsigned user, unsigned group) {
  return setgroups(0, nullptr) == 0 && setresgid(group, group, group) == 0 && setresuid(user, user, user) == 0;
}

// The same; true at once when the child is no root.
inline bool become_ordinary_user() { return geteuid() != 0 || become_user(ordinary_id, ordinary_id); }

}  // namespace kvtest

#endif
