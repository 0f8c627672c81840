// Logs on a full disk: a small file system of the test's own, in a mount namespace of its own, so that the
// machine sees nothing of it.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <syslog.h>

#include "log/registry_log_impl.h"
#include "tests/log/log_test.h"
#include "tests/log/system_log_double.h"
#include "tests/support/own_mounts.h"

namespace kvtest {
namespace {

constexpr size_t room = 65536;
const std::string why = "KVX disk is full, logging passed to syslog.\n";

// In a child: a file system of 64 KiB on the folder, or the end with the reason.
void mount_small(const std::string& folder) {
  begin_own_mounts();
  if (mount("kvtest", folder.c_str(), "tmpfs", 0, "size=65536") != 0) give_up_on_mounts("no disk of our own");
}

void fill(const std::string& folder) { write_file(folder + "/filler", std::string(2 * room, 'f')); }

// Prints what the system log got.
void tell_system_log() {
  for (const System_Log_Entry& entry : system_log()) printf("%d %s|", entry.priority, entry.text.c_str());
  system_log().clear();
}

#define SKIP_WITHOUT_FILE_SYSTEM(child) \
  if ((child).exit_status == no_own_mounts) GTEST_SKIP() << (child).err

TEST(FullDisk, RecordsGoToTheSystemLogAndTheFileGoesOnWhenThereIsRoom) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    mount_small(folder.path());
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    fill(folder.path());
    log.Output(0, "%s %d\n", "lost", 7);
    log.Output(1, "again");
    tell_system_log();
    std::filesystem::remove(folder / "filler");
    log.Output(0, "room");
    tell_system_log();
    printf("\n%s", content_of(folder / "test.log").c_str());
    fflush(stdout);
    _exit(0);
  });
  SKIP_WITHOUT_FILE_SYSTEM(child);
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "3 " + why + "lost 7\n|3 " + why + "again|\n" + record(3, "room"));
}

TEST(FullDisk, LongMessagesReachTheSystemLogWhole) {
  for (const size_t length : {1022u, 1023u, 1024u, 1025u, 100000u}) {
    Temp_Folder folder;
    const std::string text(length, 't');
    const Child_Result child = run_child([&] {
      mount_small(folder.path());
      RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
      fill(folder.path());
      log.Output(0, "%s%.1f%s", text.c_str(), 2.5, "end");
      tell_system_log();
      fflush(stdout);
      _exit(0);
    });
    SKIP_WITHOUT_FILE_SYSTEM(child);
    EXPECT_EQ(child.out, "3 " + why + text + "2.5end|") << length;
  }
}

TEST(FullDisk, AMessageThatFillsItIsHandedOverWhole) {
  Temp_Folder folder;
  const std::string text(2 * room, 't');
  const Child_Result child = run_child([&] {
    mount_small(folder.path());
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    log.Output(0, "%s", text.c_str());
    tell_system_log();
    fflush(stdout);
    _exit(0);
  });
  SKIP_WITHOUT_FILE_SYSTEM(child);
  EXPECT_EQ(child.out, "3 " + why + text + "|");
}

TEST(FullDisk, BannersGoToTheSystemLogToo) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    mount_small(folder.path());
    fill(folder.path());
    {
      RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
      log.Start();
    }
    tell_system_log();
    fflush(stdout);
    _exit(0);
  });
  SKIP_WITHOUT_FILE_SYSTEM(child);
  EXPECT_EQ(child.out, "3 " + why + started + "|3 " + why + ending + "|");
}

TEST(FullDisk, NothingIsPrunedAfterwards) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    Settings_Double settings;
    settings.set(u"MaxSize", 0);
    mount_small(folder.path());
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    fill(folder.path());
    log.Output(0, "lost");
    printf("%s", settings.calls().c_str());
    fflush(stdout);
    _exit(0);
  });
  SKIP_WITHOUT_FILE_SYSTEM(child);
  EXPECT_EQ(child.out, "create;query LogLevel;query MaxSize;");
}

TEST(FullDisk, StandardOutputOnItIsServedLikewise) {
  const Child_Result child = run_child([] {
    if (freopen("/dev/full", "w", stdout) == nullptr) _exit(1);
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", nullptr);
    log.Output(0, "lost");
    for (const System_Log_Entry& entry : system_log()) fprintf(stderr, "%s", entry.text.c_str());
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.err, why + "lost");
}

// Only a full disk counts: a descriptor that takes nothing else is no reason.
TEST(OtherWriteErrors, DropTheRecord) {
  const Child_Result child = run_child([] {
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", nullptr);
    close(STDOUT_FILENO);
    log.Output(0, "lost");
    fprintf(stderr, "%zu", system_log().size());
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.err, "0");
}

}  // namespace
}  // namespace kvtest
