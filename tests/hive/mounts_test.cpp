// A hive's folder in two places, made read-only under way, or mounted where its log is not.
#include "tests/hive/small_disk.h"

namespace {

using namespace hivetest;

bool mount_folder(const std::string& from, const std::string& to) {
  std::filesystem::create_directories(to);
  return mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

TEST(Mounts, AFolderThatIsMountedTwiceHasOneHive) {
  on_small_disk([](const std::string& disk) {
    std::filesystem::create_directory(disk + "/one");
    if (!mount_folder(disk + "/one", disk + "/two")) _exit(cannot_mount);
    std::unique_ptr<Registry> one = registry_on(disk + "/one");
    std::unique_ptr<Registry> two = registry_on(disk + "/two");
    Key key = make_key(*one, root_of(*one), u"a");
    bool right = report(put(*one, key, u"v", "1") == Status::ok, "first");
    Key same;
    right = right && report(two->open(root_of(*two), u"a", &same) == Status::ok, "there too");
    right = right && report(put(*two, same, u"v", "2") == Status::ok && get(*one, key, u"v") == "2", "in one process");
    kvtest::Child_Result child = kvtest::run_child([&] {
      Registry& other = *registry_on(disk + "/two").release();
      Key theirs;
      bool done = other.open(root_of(other), u"a", &theirs) == Status::ok && get(other, theirs, u"v") == "2";
      for (int i = 0; i < 50; ++i) done = done && put(other, theirs, u"v", std::to_string(i)) == Status::ok;
      _exit(done ? 0 : 1);
    });
    for (int i = 0; i < 50; ++i) right = right && put(*one, key, u"w", std::to_string(i)) == Status::ok;
    std::vector<hive::Found_Fault> faults;
    return right && report(child.exit_status == 0, "in two processes") &&
           report(get(*one, key, u"v") == "49" && get(*two, same, u"w") == "49", "the same") &&
           report(one->check(key, &faults) == Status::ok && faults.empty(), "holds together");
  });
}

TEST(Mounts, AHiveThatIsMountedAloneIsRefused) {
  on_small_disk([](const std::string& disk) {
    std::filesystem::create_directory(disk + "/one");
    std::filesystem::create_directory(disk + "/two");
    kvtest::run_child([&] {
      std::unique_ptr<Registry> one = registry_on(disk + "/one");
      make_key(*one, root_of(*one), u"a");
    });
    std::ofstream(disk + "/two/machine.bin");
    if (mount((disk + "/one/machine.bin").c_str(), (disk + "/two/machine.bin").c_str(), nullptr, MS_BIND, nullptr) != 0)
      _exit(cannot_mount);
    std::unique_ptr<Registry> two = registry_on(disk + "/two");
    Key key;
    bool right = report(two->open(root_of(*two), u"a", &key) == Status::not_a_hive, "refused") &&
                 report(complaints().size() == 1 && complaints()[0].find("mounted") != std::string::npos, "one line");
    umount((disk + "/two/machine.bin").c_str());
    std::unique_ptr<Registry> one = registry_on(disk + "/one");
    return right && report(one->open(root_of(*one), u"a", &key) == Status::ok, "where it lies it is good");
  });
}

// Nothing of ours is open while the mount changes: a fork closes everything.
void close_everything() {
  kvtest::run_child([] {});
}

bool remount(const std::string& disk, unsigned long flags) {
  close_everything();
  return mount(nullptr, disk.c_str(), nullptr, MS_REMOUNT | flags, nullptr) == 0;
}

TEST(Mounts, ADiskThatIsMadeReadOnlyIsReadAndRefusesToBeWrittenUntilItMayBe) {
  on_small_disk([](const std::string& disk) {
    std::unique_ptr<Registry> registry = registry_on(disk);
    Key key = make_key(*registry, root_of(*registry), u"a");
    bool right = report(put(*registry, key, u"v", "1") == Status::ok, "before");
    if (!remount(disk, MS_RDONLY)) _exit(cannot_mount);
    Key made;
    right = right && report(get(*registry, key, u"v") == "1", "read") &&
            report(put(*registry, key, u"v", "2") == Status::denied, "value refused") &&
            report(create(*registry, key, u"b", &made) == Status::denied, "key refused") &&
            report(registry->remove(root_of(*registry), u"a") == Status::denied, "deletion refused") &&
            report(get(*registry, key, u"v") == "1", "read again") && report(complaints().size() <= 1, "one line");
    std::unique_ptr<Registry> later = registry_on(disk);
    right = right && report(later->open(root_of(*later), u"a", &made) == Status::ok, "opened anew") &&
            report(get(*later, made, u"v") == "1", "read anew");
    if (!remount(disk, 0)) _exit(cannot_mount);
    return right && report(put(*registry, key, u"v", "2") == Status::ok, "after") &&
           report(get(*later, made, u"v") == "2", "seen by both");
  });
}

TEST(Mounts, AReadOnlyDiskWithoutAHiveRefuses) {
  on_small_disk([](const std::string& disk) {
    if (!remount(disk, MS_RDONLY)) _exit(cannot_mount);
    std::unique_ptr<Registry> registry = registry_on(disk);
    Key key;
    return report(create(*registry, root_of(*registry), u"a", &key) == Status::denied, "refused") &&
           report(complaints().size() == 1, "one line");
  });
}

TEST(Mounts, ABackupOnAReadOnlyDiskIsRead) {
  on_small_disk([](const std::string& disk) {
    std::unique_ptr<Registry> registry = registry_on(disk);
    Key key = make_key(*registry, root_of(*registry), u"a");
    bool right = put(*registry, key, u"v", "1") == Status::ok && registry->backup(disk + "/backup") == Status::ok;
    if (!remount(disk, MS_RDONLY)) _exit(cannot_mount);
    Registry copy(std::make_unique<Fixed_Locations>(disk + "/backup/machine.hive", "", ""), &note_complaint);
    Key there;
    return report(right && copy.open(root_of(copy), u"a", &there) == Status::ok, "opened") &&
           report(get(copy, there, u"v") == "1" && put(copy, there, u"v", "2") == Status::denied, "read, not written");
  });
}

}  // namespace
