// A full disk: a small file system of the test's own in a mount namespace of its own.
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include <filesystem>
#include <fstream>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

constexpr int cannot_mount = 77;

// In a user namespace of its own the caller stays who it is, with the rights to mount.
void keep_identity(uid_t user, gid_t group) {
  std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
}

bool mount_small_disk(const std::string& at) {
  uid_t user = geteuid();
  gid_t group = getegid();
  int spaces = CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER);
  if (unshare(spaces) != 0) return false;
  if (user != 0) keep_identity(user, group);
  mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
  return mount("tmpfs", at.c_str(), "tmpfs", 0, "size=1m") == 0;
}

// Runs a check on a disk of one mebibyte.
void on_small_disk(const std::function<bool(const std::string&)>& check) {
  Temp_Folder folder;
  std::filesystem::create_directory(folder / "disk");
  kvtest::Child_Result child = kvtest::run_child([&] {
    if (!mount_small_disk(folder / "disk")) _exit(cannot_mount);
    _exit(check(folder / "disk") ? 0 : 1);
  });
  if (child.exit_status == cannot_mount) GTEST_SKIP() << "a mount namespace of its own is not allowed here";
  EXPECT_EQ(child.exit_status, 0) << child.err;
}

bool report(bool right, const char* what) {
  if (!right) fprintf(stderr, "%s\n", what);
  return right;
}

// Leaves no room at all.
void fill(const std::string& file) {
  std::ofstream out(file, std::ios::binary);
  std::string block(4096, 'f');
  while (out.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
  }
}

TEST(DiskFull, AWriteIsRefusedAndNothingIsLostAndItGoesOnWithRoom) {
  on_small_disk([](const std::string& disk) {
    std::unique_ptr<Registry> registry = registry_on(disk);
    Key key = make_key(*registry, root_of(*registry), u"a");
    if (!report(put(*registry, key, u"v", "before") == Status::ok, "first write")) return false;
    fill(disk + "/ballast");
    Status status = Status::ok;
    for (int i = 0; i < 100 && status == Status::ok; ++i) {
      status = put(*registry, key, u"w" + std::u16string(1, char16_t(u'a' + i)), std::string(30000, 'x'));
    }
    bool right = report(status == Status::disk_full, "refused") &&
                 report(get(*registry, key, u"v") == "before", "kept") && report(complaints().size() == 1, "one line");
    status = put(*registry, key, u"w", std::string(30000, 'x'));
    right = right && report(status == Status::disk_full && complaints().size() == 1, "again, without a line");
    std::filesystem::remove(disk + "/ballast");
    return right && report(put(*registry, key, u"w", std::string(30000, 'x')) == Status::ok, "goes on") &&
           report(get(*registry, key, u"w") == std::string(30000, 'x'), "reads it");
  });
}

TEST(DiskFull, ANewHiveThatFindsNoRoomIsMadeLater) {
  on_small_disk([](const std::string& disk) {
    fill(disk + "/ballast");
    std::unique_ptr<Registry> registry = registry_on(disk);
    Key key;
    Status status = create(*registry, root_of(*registry), u"a", &key);
    bool right = report(status == Status::disk_full, "refused");
    if (!right)
      fprintf(stderr, "status %d %s\n", static_cast<int>(status), complaints().empty() ? "" : complaints()[0].c_str());
    std::filesystem::remove(disk + "/ballast");
    return right && report(create(*registry, root_of(*registry), u"a", &key) == Status::ok, "made later");
  });
}

TEST(DiskFull, SavingLeavesNoHalfFile) {
  on_small_disk([](const std::string& disk) {
    Temp_Folder elsewhere;
    std::unique_ptr<Registry> registry = registry_on(elsewhere.path());
    Key key = make_key(*registry, root_of(*registry), u"a");
    put(*registry, key, u"v", std::string(3000000, 'x'));
    return report(registry->save(key, disk + "/saved") == Status::disk_full, "save refused") &&
           report(registry->backup(disk) == Status::disk_full, "backup refused") &&
           report(std::filesystem::is_empty(disk), "nothing left");
  });
}

}  // namespace
