// A process sees a folder of the test's in place of /etc. For a child only: the change lasts for the life of
// the process and is invisible to all others; the machine's /etc is not touched.
#ifndef KELVANE_TESTS_SUPPORT_PRIVATE_ETC_H
#define KELVANE_TESTS_SUPPORT_PRIVATE_ETC_H

#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace kvtest {

// "" when the folder now stands at /etc, otherwise the reason why this machine does not allow it. Works for
// root, and for others where a user may have namespaces.
inline std::string put_folder_over_etc(const std::string& folder) {
  if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
    return std::string("no mount namespace of our own: ") + strerror(errno);
  }
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount(folder.c_str(), "/etc", nullptr, MS_BIND, nullptr) != 0) {
    return std::string("no mount over /etc: ") + strerror(errno);
  }
  return "";
}

}  // namespace kvtest

#endif
