// A hive's file that goes, comes back or changes places while the hive is in use.
#include <sched.h>

#include <filesystem>

#include "hive/store/folder_look.h"

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Replaced : testing::Test {
  void remove_all_files() {
    for (const char* name : {"machine.bin", "machine.bin-wal", "machine.bin-shm"}) {
      std::filesystem::remove(folder / name);
    }
  }

  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
};

TEST_F(Replaced, ARemovedHiveIsANewOneAtTheNextCall) {
  Key key = make_key(*registry, root_of(*registry), u"a");
  remove_all_files();
  EXPECT_EQ(key_names(*registry, root_of(*registry)), Names{});
  EXPECT_EQ(put(*registry, key, u"v", "x"), Status::key_deleted);
  make_key(*registry, root_of(*registry), u"b");
  EXPECT_EQ(key_names(*registry, root_of(*registry)), Names{u"b"});
}

TEST_F(Replaced, AKeyOfTheFormerHiveNeverLeadsToOneOfTheNew) {
  Key former = make_key(*registry, root_of(*registry), u"a");
  remove_all_files();
  Key successor = make_key(*registry, root_of(*registry), u"b");
  EXPECT_EQ(put(*registry, former, u"v", "x"), Status::key_deleted);
  EXPECT_EQ(value_names(*registry, successor), Names{});
}

TEST_F(Replaced, ARemovedFileAloneIsNotMixedWithItsOldLog) {
  make_key(*registry, root_of(*registry), u"a");
  std::filesystem::remove(folder / "machine.bin");
  EXPECT_EQ(key_names(*registry, root_of(*registry)), Names{});
}

TEST_F(Replaced, AFileMovedIntoPlaceIsUsedFromThen) {
  make_key(*registry, root_of(*registry), u"a");
  std::filesystem::create_directory(folder / "other");
  {
    std::unique_ptr<Registry> other = registry_on(folder / "other");
    make_key(*other, root_of(*other), u"other");
  }
  remove_all_files();
  std::filesystem::rename(folder / "other/machine.bin", folder / "machine.bin");
  EXPECT_EQ(key_names(*registry, root_of(*registry)), Names{u"other"});
}

TEST_F(Replaced, ReplacingLeaksNoDescriptor) {
  auto open_descriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  };
  make_key(*registry, root_of(*registry), u"a");
  auto before = open_descriptors();
  for (int i = 0; i < 10; ++i) {
    remove_all_files();
    make_key(*registry, root_of(*registry), u"a");
  }
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(Replaced, TwoPathsOfOneFileAreOneHive) {
  std::filesystem::create_directory_symlink(folder.path(), folder / "way");
  std::unique_ptr<Registry> other = registry_on(folder / "way");
  Key key = make_key(*registry, root_of(*registry), u"a");
  ASSERT_EQ(put(*registry, key, u"v", "x"), Status::ok);
  Key same;
  ASSERT_EQ(other->open(root_of(*other), u"a", &same), Status::ok);
  ASSERT_EQ(put(*other, same, u"v", "y"), Status::ok);
  other.reset();
  same.reset();
  EXPECT_EQ(get(*registry, key, u"v"), "y");
  EXPECT_EQ(put(*registry, key, u"v", "z"), Status::ok);
}

// The names of a hive's files are known by their folder, once it has stood still for a moment.
struct In_A_Folder_That_Stood_Still : Replaced {
  void let_it_stand(Registry& of, const std::string& path) {
    EXPECT_EQ(put(of, root_of(of), u"v", "first"), Status::ok);
    while (!hive::look_at_folder(path).is_settled) sched_yield();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(put(of, root_of(of), u"v", "before"), Status::ok);
  }
  In_A_Folder_That_Stood_Still() { let_it_stand(*registry, folder.path()); }
};

TEST_F(In_A_Folder_That_Stood_Still, WritesAreKept) {
  EXPECT_TRUE(hive::look_at_folder(folder.path()).is_settled);
  EXPECT_EQ(put(*registry, root_of(*registry), u"v", "again"), Status::ok);
  const std::unique_ptr<Registry> other = registry_on(folder.path());
  EXPECT_EQ(get(*other, root_of(*other), u"v"), "again");
}

TEST_F(In_A_Folder_That_Stood_Still, ARemovedHiveIsANewOneAtTheNextCall) {
  remove_all_files();
  EXPECT_EQ(put(*registry, root_of(*registry), u"w", "x"), Status::ok);
  EXPECT_EQ(value_names(*registry, root_of(*registry)), Names{u"w"});
}

TEST_F(In_A_Folder_That_Stood_Still, ARemovedLogIsNoticedBeforeTheNextWrite) {
  std::filesystem::remove(folder / "machine.bin-wal");
  std::filesystem::remove(folder / "machine.bin-shm");
  EXPECT_EQ(put(*registry, root_of(*registry), u"w", "x"), Status::ok);
  EXPECT_TRUE(std::filesystem::exists(folder / "machine.bin-wal"));
  const std::unique_ptr<Registry> other = registry_on(folder.path());
  EXPECT_EQ(get(*other, root_of(*other), u"w"), "x");
}

TEST_F(In_A_Folder_That_Stood_Still, AnotherFolderInItsPlaceIsUsedFromThen) {
  const std::string sub = folder / "sub";
  std::filesystem::create_directory(sub);
  const std::unique_ptr<Registry> there = registry_on(sub);
  make_key(*there, root_of(*there), u"a");
  let_it_stand(*there, sub);
  std::filesystem::rename(sub, folder / "gone");
  std::filesystem::create_directory(sub);
  EXPECT_EQ(put(*there, root_of(*there), u"w", "x"), Status::ok);
  EXPECT_TRUE(std::filesystem::exists(folder / "sub/machine.bin"));
  EXPECT_EQ(value_names(*there, root_of(*there)), Names{u"w"});
}

TEST_F(In_A_Folder_That_Stood_Still, AFileBehindALinkIsAskedForItself) {
  std::filesystem::create_directory(folder / "links");
  std::filesystem::create_symlink(folder / "machine.bin", folder / "links/machine.bin");
  const std::unique_ptr<Registry> there = registry_on(folder / "links");
  let_it_stand(*there, folder / "links");
  remove_all_files();
  EXPECT_EQ(put(*registry, root_of(*registry), u"w", "x"), Status::ok);
  EXPECT_EQ(value_names(*there, root_of(*there)), Names{u"w"});
}

}  // namespace
