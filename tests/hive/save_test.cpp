#include <fstream>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Save : testing::Test {
  Save() {
    key = make_key(*registry, root_of(*registry), u"App", {.class_name = u"Class"});
    put(*registry, key, u"Small", "s", 1);
    put(*registry, key, u"Large", std::string(70000, 'L'));
    make_key(*registry, key, u"Sub\\Deep");
    make_key(*registry, key, u"Gone", {.class_name = {}, .is_volatile = true});
  }

  // The saved file, used as a machine hive.
  std::unique_ptr<Registry> saved() {
    return std::make_unique<Registry>(std::make_unique<Fixed_Locations>(folder / "saved", "", ""), &note_complaint);
  }

  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key;
};

TEST_F(Save, TheKeyAndAllBelowItBecomeAHive) {
  ASSERT_EQ(registry->save(key, folder / "saved"), Status::ok);
  std::unique_ptr<Registry> other = saved();
  Key root = root_of(*other);
  EXPECT_EQ(get(*other, root, u"small"), "s");
  EXPECT_EQ(get(*other, root, u"large"), std::string(70000, 'L'));
  EXPECT_EQ(key_names(*other, root), Names{u"Sub"});
  hive::Key_Counts counts = counts_of(*other, root);
  EXPECT_EQ(counts.values, 2u);
  EXPECT_EQ(counts.max_value_size, 70000u);
  Key deep;
  EXPECT_EQ(other->open(root, u"sub\\deep", &deep), Status::ok);
  EXPECT_EQ(put(*other, deep, u"v", "written"), Status::ok);
}

TEST_F(Save, AnExistingFileIsLeftAsItIs) {
  std::ofstream(folder / "saved") << "mine";
  EXPECT_EQ(registry->save(key, folder / "saved"), Status::exists);
  std::string text;
  std::ifstream(folder / "saved") >> text;
  EXPECT_EQ(text, "mine");
}

TEST_F(Save, NothingStaysOfAFailedOne) {
  ASSERT_EQ(registry->remove(key, u"Sub\\Deep"), Status::ok);
  Key gone;
  ASSERT_EQ(registry->open(key, u"Sub", &gone), Status::ok);
  ASSERT_EQ(registry->remove(key, u"Sub"), Status::ok);
  EXPECT_EQ(registry->save(gone, folder / "saved"), Status::key_deleted);
  EXPECT_NE(access((folder / "saved").c_str(), F_OK), 0);
  EXPECT_EQ(registry->save(key, folder / "no/such/folder"), Status::not_found);
}

TEST_F(Save, ABackupIsAHiveOfItsOwnAndReplacesAnEarlierOne) {
  make_key(*registry, root_of(*registry, Root::current_user), u"Mine");
  ASSERT_EQ(registry->backup(folder / "backup"), Status::ok);
  put(*registry, key, u"Small", "newer", 1);
  ASSERT_EQ(registry->backup(folder / "backup"), Status::ok);
  Registry restored(std::make_unique<Fixed_Locations>(folder / "backup/machine.hive", folder / "backup/user.hive", ""),
                    &note_complaint);
  Key app;
  ASSERT_EQ(restored.open(root_of(restored), u"App", &app), Status::ok);
  EXPECT_EQ(get(restored, app, u"Small"), "newer");
  EXPECT_EQ(key_names(restored, root_of(restored, Root::current_user)), Names{u"Mine"});
}

TEST_F(Save, ABackupIsForItsOwnerAlone) {
  ASSERT_EQ(registry->backup(folder / "backup"), Status::ok);
  struct stat made;
  ASSERT_EQ(stat((folder / "backup").c_str(), &made), 0);
  EXPECT_EQ(made.st_mode & 0777, 0700u);
  ASSERT_EQ(stat((folder / "backup/machine.hive").c_str(), &made), 0);
  EXPECT_EQ(made.st_mode & 0777, 0600u);
}

TEST_F(Save, ABackupGoesIntoAFolderOnly) {
  std::ofstream(folder / "file") << "mine";
  EXPECT_EQ(registry->backup(folder / "file"), Status::exists);
}

TEST_F(Save, FlushingLeavesALogThatIsNotEmpty) {
  ASSERT_EQ(registry->flush(key), Status::ok);
  struct stat log;
  ASSERT_EQ(stat((folder / "machine.bin-wal").c_str(), &log), 0);
  EXPECT_GT(log.st_size, 0);
  EXPECT_EQ(get(*registry, key, u"small"), "s");
}

}  // namespace
