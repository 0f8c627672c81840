// Putting a backup back, step by step as the administrator is told to.
#include <sys/stat.h>

#include "tests/store/shared_image.h"

namespace kvtest {
namespace {

class Backup : public Shared_Image {
 protected:
  void SetUp() override {
    Shared_Image::SetUp();
    EXPECT_TRUE(answered(run("here", {{"set", "HKCU\\S", "n", "user before"},
                                      {"set", "HKLM\\S", "n", "machine before"},
                                      {"backup", backup()},
                                      {"set", "HKCU\\S", "n", "user after"},
                                      {"set", "HKCU\\S", "late", "x"},
                                      {"set", "HKLM\\S", "n", "machine after"}}),
                         "0\n0\n0\n0\n0\n0\n"));
  }
  std::string backup() const { return folder_ / "backup"; }

  // Moves a copy of a backup to the hive's place, with the owner and the mode that the hive had.
  static void put_back(const std::string& from, const std::string& hive) {
    struct stat old {};
    ASSERT_EQ(stat(hive.c_str(), &old), 0);
    const std::string fresh = hive + ".restored";
    fs::copy_file(from, fresh);
    ASSERT_EQ(chown(fresh.c_str(), old.st_uid, old.st_gid), 0);
    ASSERT_EQ(chmod(fresh.c_str(), old.st_mode & 07777), 0);
    for (const char* beside : {"-wal", "-shm"}) fs::remove(hive + beside);
    fs::rename(fresh, hive);
  }
};

TEST_F(Backup, PutBackGivesBothHivesAsTheyWere) {
  put_back(backup() + "/machine.hive", machine_hive("here"));
  put_back(backup() + "/user.hive", live_hive("here"));
  EXPECT_TRUE(answered(run("here", {{"get", "HKLM\\S", "n"}, {"get", "HKCU\\S", "n"}, {"get", "HKCU\\S", "late"}}),
                       "0 machine before\n0 user before\n2\n"));
  // And goes on from there.
  EXPECT_TRUE(answered(run("here", {{"set", "HKLM\\S", "n", "again"}, {"set", "HKCU\\S", "n", "again"}}), "0\n0\n"));
  EXPECT_TRUE(answered(run("here", {{"get", "HKLM\\S", "n"}, {"get", "HKCU\\S", "n"}}), "0 again\n0 again\n"));
}

TEST_F(Backup, OfTheMachineAloneLeavesTheUsersHive) {
  put_back(backup() + "/machine.hive", machine_hive("here"));
  EXPECT_TRUE(
      answered(run("here", {{"get", "HKLM\\S", "n"}, {"get", "HKCU\\S", "n"}}), "0 machine before\n0 user after\n"));
}

TEST_F(Backup, OfTheUserPutBackIsWhatTheNextImageHolds) {
  put_back(backup() + "/user.hive", live_hive("here"));
  EXPECT_TRUE(answered(run("here", {{"set", "HKCU\\S", "more", "x"}}), "0\n"));
  EXPECT_TRUE(answered(run("there", {{"get", "HKCU\\S", "n"}, {"get", "HKCU\\S", "late"}, {"get", "HKCU\\S", "more"}}),
                       "0 user before\n2\n0 x\n"));
}

TEST_F(Backup, MayBeTheImageOfTheUsersHive) {
  const std::string kept = content_of(image());
  EXPECT_TRUE(answered(run("here", {{"set", "HKCU\\S", "n", "spoilt"}}), "0\n"));
  const std::string hive = live_hive("here");
  for (const char* part : {"", "-wal", "-shm"}) fs::remove(hive + part);
  write_file(image(), kept);
  EXPECT_TRUE(answered(run("here", {{"get", "HKCU\\S", "n"}, {"get", "HKCU\\S", "late"}}), "0 user after\n0 x\n"));
}

}  // namespace
}  // namespace kvtest
