// Whole hives through a real server: files are the client's.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/client/served.h"

namespace {

using namespace kvtest;

class Whole_Hives : public Served {
 protected:
  std::string file(const std::string& name) {
    return folder() / (name + testing::UnitTest::GetInstance()->current_test_info()->name());
  }
};

TEST_F(Whole_Hives, SavedKeysAreLoadedAgain) {
  const HKEY key = client().made(base, u"from\\deep");
  ASSERT_EQ(client().set(key, u"v", REG_BINARY, "kept"), 0u);
  service().close_key(key);
  const HKEY from = client().made(base, u"from");
  ASSERT_EQ(service().save_key(from, file("saved").c_str()), 0u);
  struct stat found;
  ASSERT_EQ(stat(file("saved").c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 07777, 0600u);
  EXPECT_EQ(service().save_key(from, file("saved").c_str()), 183u);
  service().close_key(from);
  ASSERT_EQ(service().load_key(base, u"to", file("saved").c_str()), 0u);
  const HKEY loaded = client().made(base, u"to\\deep");
  EXPECT_EQ(client().get(loaded, u"v"), (Value{0, REG_BINARY, "kept"}));
  service().close_key(loaded);
}

TEST_F(Whole_Hives, FilesThatAreNoHiveAreRefused) {
  EXPECT_EQ(service().load_key(base, u"to", file("none").c_str()), 2u);
  EXPECT_EQ(service().load_key(base, u"to", folder().path().c_str()), 1017u);
  std::ofstream(file("text")) << "no hive";
  EXPECT_EQ(service().load_key(base, u"to", file("text").c_str()), 1017u);
  std::ofstream(file("used")) << "whatever";
  std::ofstream(file("used") + "-wal") << "log";
  EXPECT_EQ(service().load_key(base, u"to", file("used").c_str()), 170u);
}

TEST_F(Whole_Hives, ASaveToAPlaceThatIsNotThereLeavesNothing) {
  EXPECT_EQ(service().save_key(base, (folder() / "none/file").c_str()), 2u);
  EXPECT_FALSE(std::filesystem::exists(folder() / "none"));
}

TEST_F(Whole_Hives, ABackupHoldsTheHivesAndReplacesTheOneBefore) {
  const std::string place = file("backup");
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(service().backup(place.c_str()), 0u);
    EXPECT_TRUE(std::filesystem::exists(place + "/machine.hive"));
  }
  for (const auto& entry : std::filesystem::directory_iterator(place)) {
    EXPECT_EQ(entry.path().extension(), ".hive") << entry.path();
  }
  std::ofstream(file("taken")) << "";
  EXPECT_EQ(service().backup(file("taken").c_str()), 183u);
}

TEST_F(Whole_Hives, LoadedKeysAreUnloaded) {
  ASSERT_EQ(service().save_key(base, file("saved").c_str()), 0u);
  ASSERT_EQ(service().load_key(base, u"to", file("saved").c_str()), 0u);
  const HKEY reader = client().made(base, u"", KEY_READ);
  EXPECT_EQ(service().unload_key(reader, u"to"), 5u);
  service().close_key(reader);
  const HKEY loaded = client().made(base, u"to");
  EXPECT_EQ(service().unload_key(base, u"to"), 0u);
  EXPECT_EQ(client().set(loaded, u"v", REG_BINARY, "x"), 1018u);
  service().close_key(loaded);
  EXPECT_EQ(service().unload_key(base, u"to"), 2u);
  service().close_key(client().made(base, u"own"));
  EXPECT_EQ(service().unload_key(base, u"own"), 87u);
}

TEST_F(Whole_Hives, AreLookedThroughAndCounted) {
  impl::Hive_Report before, after;
  ASSERT_EQ(service().check_key(base, &before), 0u);
  EXPECT_GE(before.keys, 2u);
  EXPECT_TRUE(before.faults.empty());
  const HKEY mist = client().made(base, u"mist", KEY_ALL_ACCESS, REG_OPTION_VOLATILE);
  ASSERT_EQ(client().set(mist, u"v", REG_BINARY, "four"), 0u);
  ASSERT_EQ(service().check_key(mist, &after), 0u);
  EXPECT_EQ(after.keys, before.keys + 1);
  EXPECT_EQ(after.volatile_keys, before.volatile_keys + 1);
  EXPECT_EQ(after.values, before.values + 1);
  EXPECT_EQ(after.data_size, before.data_size + 4);
  service().close_key(mist);
  const HKEY writer = client().made(base, u"", KEY_SET_VALUE);
  EXPECT_EQ(service().check_key(writer, &after), 5u);
  service().close_key(writer);
}

TEST_F(Whole_Hives, FilesAreLookedThroughAndStayAsTheyAre) {
  const HKEY key = client().made(base, u"deep");
  ASSERT_EQ(client().set(key, u"v", REG_BINARY, "leaf"), 0u);
  service().close_key(key);
  ASSERT_EQ(service().save_key(base, file("saved").c_str()), 0u);
  std::ostringstream was, is;
  was << std::ifstream(file("saved")).rdbuf();
  impl::Hive_Report report;
  EXPECT_EQ(service().check_file(file("saved").c_str(), &report), 0u);
  EXPECT_EQ(report.values, 1u);
  EXPECT_EQ(report.data_size, 4u);
  EXPECT_TRUE(report.faults.empty());
  is << std::ifstream(file("saved")).rdbuf();
  EXPECT_EQ(was.str(), is.str());
  EXPECT_FALSE(std::filesystem::exists(file("saved") + "-wal"));
  EXPECT_EQ(service().check_file(file("none").c_str(), &report), 2u);
  std::ofstream(file("text")) << "no hive";
  EXPECT_EQ(service().check_file(file("text").c_str(), &report), 1017u);
}

TEST_F(Whole_Hives, TheUsersImageIsGivenAndNoneAtTheEnd) {
  ASSERT_EQ(client().set(HKEY_CURRENT_USER, u"image", REG_BINARY, "x"), 0u);
  std::vector<BYTE> image;
  EXPECT_EQ(service().user_image(&image), 0u);
  EXPECT_GT(image.size(), 16u);
  EXPECT_EQ(service().closing_user_image(&image), 0u);
  EXPECT_TRUE(image.empty());
}

}  // namespace
