// Mounts of a test's own: in a child, in a mount namespace that nobody else sees.
#pragma once

#include <sched.h>
#include <sys/mount.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "tests/hive/registry_on.h"

namespace hivetest {

constexpr int cannot_mount = 77;

// In a user namespace of its own the caller stays who it is, with the rights to mount.
inline void keep_identity(uid_t user, gid_t group) {
  std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
}

inline bool begin_own_mounts() {
  uid_t user = geteuid();
  gid_t group = getegid();
  if (unshare(CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER)) != 0) return false;
  if (user != 0) keep_identity(user, group);
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

inline bool mount_small_disk(const std::string& at) {
  return begin_own_mounts() && mount("tmpfs", at.c_str(), "tmpfs", 0, "size=1m") == 0;
}

// Runs a check on a disk of one mebibyte.
inline void on_small_disk(const std::function<bool(const std::string&)>& check) {
  Temp_Folder folder;
  std::filesystem::create_directory(folder / "disk");
  kvtest::Child_Result child = kvtest::run_child([&] {
    complaints().clear();
    if (!mount_small_disk(folder / "disk")) _exit(cannot_mount);
    _exit(check(folder / "disk") ? 0 : 1);
  });
  if (child.exit_status == cannot_mount) GTEST_SKIP() << "a mount namespace of its own is not allowed here";
  EXPECT_EQ(child.exit_status, 0) << child.err << " signal " << child.signal;
  printf("%s", child.out.c_str());
}

inline bool report(bool right, const char* what) {
  if (right) return true;
  fprintf(stderr, "%s\n", what);
  for (const std::string& line : complaints()) fprintf(stderr, "  %s\n", line.c_str());
  fflush(stderr);
  return false;
}

}  // namespace hivetest
