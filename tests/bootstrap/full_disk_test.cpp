// The close of the registry on a full disk: a small file system of the test's own, in a mount namespace of its
// own, so that the machine sees nothing of it.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

constexpr int no_file_system = 88;
const char* const lost =
    "TIME  [# 1] ->\n"
    "Failed to write HKCU file to disc: the device is full.\n"
    "The changes made to the HKEY_CURRENT_USER in this session have been lost.\n";

// In a child: mounts of its own, for a user who is not root in a namespace where he is.
bool have_own_mounts() {
  if (unshare(CLONE_NEWNS) == 0) return true;
  const std::string user = std::to_string(geteuid());
  const std::string group = std::to_string(getegid());
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  write_file("/proc/self/setgroups", "deny");
  write_file("/proc/self/uid_map", "0 " + user + " 1");
  write_file("/proc/self/gid_map", "0 " + group + " 1");
  return true;
}

// In a child: a file system of 64 KiB and eight files on the folder, or the end with the reason.
void mount_small(const std::string& folder) {
  if (have_own_mounts() && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
      mount("kvtest", folder.c_str(), "tmpfs", 0, "size=65536,nr_inodes=8") == 0)
    return;
  say("no file system of our own: %s", strerror(errno));
  _exit(no_file_system);
}

// In a child: starts the library, whose user hive has an image of this size at the end.
void start(const std::string& folder, int size) {
  mount_small(folder);
  write_file(folder + "/hkcu.bin", "old");
  setenv("KVREGISTRY", (folder + "/hklm.bin:" + folder + "/hkcu.bin").c_str(), 1);
  kvrecording::Control& recording = choose_recording();
  init_advapi32();
  recording.script("KvIRegProcessEnding", [=](const kvrecording::Call& call) {
    call.store("out_image", calloc(static_cast<size_t>(size), 1));
    call.store("out_size", size);
    return 0;
  });
}

// In a child: what the folder holds, each name with the content.
void tell_files(const std::string& folder) {
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    say("%s: %s\n", entry.path().filename().c_str(), content_of(entry.path().string()).c_str());
}

#define SKIP_WITHOUT_FILE_SYSTEM(child) \
  if ((child).exit_status == no_file_system) GTEST_SKIP() << (child).out

TEST(CloseOnAFullDisk, SaysSoInTheLogAndKeepsTheOldFile) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    start(folder.path(), 100000);
    RegUxClose(0, 0);
    tell_files(folder.path());
  });
  SKIP_WITHOUT_FILE_SYSTEM(child);
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(without_times(child.out), lost + std::string("hkcu.bin: old\n"));
}

TEST(CloseOnAFullDisk, SaysSoWhenThereIsNoRoomForAnotherFile) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    start(folder.path(), 10);
    for (int i = 0; i < 20; ++i) std::ofstream(folder / ("filler" + std::to_string(i)));
    RegUxClose(0, 0);
    say("%s\n", content_of(folder / "hkcu.bin").c_str());
  });
  SKIP_WITHOUT_FILE_SYSTEM(child);
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(without_times(child.out), lost + std::string("old\n"));
}

TEST(CloseOnAFullDisk, SaysSoAtTheEndOfTheProcessTooWhenTheLogWasUsedBefore) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    start(folder.path(), 100000);
    make_exit_return();
    KvRegInitializeWrappers(nullptr, "used.dll");
    exit(3);
  });
  SKIP_WITHOUT_FILE_SYSTEM(child);
  EXPECT_EQ(child.exit_status, 3) << child.err;
  EXPECT_EQ(without_times(child.out),
            "TIME  [# 1] ->\n"
            "Could not load library used.dll. There is a problem with your Kelvane installation.\n"
            "KvExit 1\n"
            "TIME  [# 1] ->\n"
            "Failed to write HKCU file to disc: the device is full.\n"
            "The changes made to the HKEY_CURRENT_USER in this session have been lost.\n");
}

}  // namespace
}  // namespace kvtest
