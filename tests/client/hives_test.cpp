// Whole hives through a real server: files are the client's.
#include <fstream>

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

TEST_F(Whole_Hives, TheUsersImageIsGivenAndNoneAtTheEnd) {
  ASSERT_EQ(client().set(HKEY_CURRENT_USER, u"image", REG_BINARY, "x"), 0u);
  std::vector<BYTE> image;
  EXPECT_EQ(service().user_image(&image), 0u);
  EXPECT_GT(image.size(), 16u);
  EXPECT_EQ(service().closing_user_image(&image), 0u);
  EXPECT_TRUE(image.empty());
}

}  // namespace
