// Mounts that only one process and its children see. For a child only; the machine's own are untouched.
#ifndef KELVANE_TESTS_SUPPORT_OWN_MOUNTS_H
#define KELVANE_TESTS_SUPPORT_OWN_MOUNTS_H

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace kvtest {

// A child that cannot have mounts of its own ends with this status and the reason on standard error.
constexpr int no_own_mounts = 77;

[[noreturn]] inline void give_up_on_mounts(const std::string& what) {
  fprintf(stderr, "%s: %s", what.c_str(), strerror(errno));
  fflush(stderr);
  _exit(no_own_mounts);
}

inline void write_map(const char* file, const std::string& content) { std::ofstream(file) << content; }

// Root may mount at once; others are made root of a user namespace, where they keep their own number.
inline void begin_own_mounts() {
  const std::string user = std::to_string(getuid()), group = std::to_string(getgid());
  if (unshare(CLONE_NEWNS) != 0) {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) give_up_on_mounts("no mount namespace of our own");
    write_map("/proc/self/setgroups", "deny");
    write_map("/proc/self/uid_map", user + " " + user + " 1");
    write_map("/proc/self/gid_map", group + " " + group + " 1");
  }
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) give_up_on_mounts("no private mounts");
}

}  // namespace kvtest

#endif
