// A hive's file that goes, comes back or changes places while the hive is in use.
#include <filesystem>

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

}  // namespace
