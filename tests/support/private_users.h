// A process sees users and groups of the test's own, through the system's real look-ups. For a child only: the
// machine's users are not touched.
#ifndef KELVANE_TESTS_SUPPORT_PRIVATE_USERS_H
#define KELVANE_TESTS_SUPPORT_PRIVATE_USERS_H

#include <fstream>
#include <string>

#include "tests/support/private_etc.h"

namespace kvtest {

// Makes the folder an /etc with these lines of passwd and group, and puts it over /etc. "" or the reason why this
// machine does not allow it.
inline std::string put_users_over_etc(const std::string& folder, const std::string& passwd, const std::string& group) {
  std::ofstream(folder + "/nsswitch.conf") << "passwd: files\ngroup: files\ninitgroups: files\n";
  std::ofstream(folder + "/passwd") << "root:x:0:0:root:/:/bin/sh\n" << passwd;
  std::ofstream(folder + "/group") << "root:x:0:\n" << group;
  return put_folder_over_etc(folder);
}

}  // namespace kvtest

#endif
