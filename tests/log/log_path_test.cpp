// The folder of a log file.
#include "log/log_path.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/log/log_test.h"

namespace kvtest {
namespace {

// The permission bits of a file or folder; -1 when it is not there.
int mode_of(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

TEST(InsureDir, MakesTheFolderWithMode0755WhateverTheMask) {
  Temp_Folder folder;
  const mode_t former = umask(077);
  insure_dir((folder / "logs/file.log").c_str());
  umask(former);
  EXPECT_EQ(mode_of(folder / "logs"), 0755);
  EXPECT_EQ(mode_of(folder / "logs/file.log"), -1);
}

TEST(InsureDir, MakesTheLastLevelOnly) {
  Temp_Folder folder;
  insure_dir((folder / "missing/logs/file.log").c_str());
  EXPECT_EQ(mode_of(folder / "missing"), -1);
}

// QUIRK log-folder-mode
TEST(InsureDir, GivesAnExistingFolderTheModeToo) {
  Temp_Folder folder;
  mkdir((folder / "logs").c_str(), 0700);
  insure_dir((folder / "logs/file.log").c_str());
  EXPECT_EQ(mode_of(folder / "logs"), 0755);
}

TEST(InsureDir, LeavesANameWithoutFolderAlone) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    if (chdir(folder.path().c_str()) != 0) _exit(1);
    insure_dir("file.log");
    insure_dir("");
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(mode_of(folder.path()), 0700);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(InsureDir, LeavesTheRootAlone) {
  const int before = mode_of("/");
  insure_dir("/file.log");
  EXPECT_EQ(mode_of("/"), before);
}

// The folder's name is longer than any that the system takes, but for its end, which is cut nowhere.
TEST(InsureDir, BearsNamesOfAnyLength) {
  Temp_Folder folder;
  for (const size_t length : {4094u, 4095u, 4096u, 4097u, 100000u}) {
    std::string path = folder / "x/";
    path += std::string(length - path.size(), 'x') + "/file.log";
    insure_dir(path.c_str());
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(InsureDir, MakesTheFolderOfTheLongestNameThatTheSystemTakes) {
  Temp_Folder folder;
  std::string path = folder.path();
  path += std::string(4090 - path.size(), '/') + "logs";
  insure_dir((path + "/f").c_str());
  EXPECT_EQ(mode_of(folder / "logs"), 0755);
}

}  // namespace
}  // namespace kvtest
