// Folders made with their parents.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

bool make(std::string path, unsigned mode = 0755) { return recursive_mkdir(path.data(), mode); }

bool is_folder(const std::string& path) { return std::filesystem::is_directory(path); }

unsigned mode_of(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(RecursiveMkdir, MakesOneFolder) {
  Temp_Folder folder;
  EXPECT_TRUE(make(folder / "a"));
  EXPECT_TRUE(is_folder(folder / "a"));
}

TEST(RecursiveMkdir, MakesTheMissingParents) {
  Temp_Folder folder;
  EXPECT_TRUE(make(folder / "a/b/c/d"));
  EXPECT_TRUE(is_folder(folder / "a/b/c/d"));
}

TEST(RecursiveMkdir, GivesEachFolderTheModeUnderTheMask) {
  Temp_Folder folder;
  const mode_t mask = umask(027);
  EXPECT_TRUE(make(folder / "a/b", 0777));
  umask(mask);
  EXPECT_EQ(mode_of(folder / "a"), 0750u);
  EXPECT_EQ(mode_of(folder / "a/b"), 0750u);
}

TEST(RecursiveMkdir, SeveralSlashesSeparateAsOne) {
  Temp_Folder folder;
  EXPECT_TRUE(make(folder / "a//b/c"));
  EXPECT_TRUE(is_folder(folder / "a/b/c"));
  EXPECT_TRUE(make(folder / "d///e"));
  EXPECT_TRUE(is_folder(folder / "d/e"));
}

TEST(RecursiveMkdir, WorksBelowTheCurrentFolder) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    if (chdir(folder.path().c_str()) != 0) _exit(1);
    say("%d %d", make("a"), make("b//c/d"));
  });
  EXPECT_EQ(child.out, "1 1");
  EXPECT_TRUE(is_folder(folder / "a"));
  EXPECT_TRUE(is_folder(folder / "b/c/d"));
}

TEST(RecursiveMkdir, AFolderThatStandsIsSuccess) {
  Temp_Folder folder;
  EXPECT_TRUE(make(folder.path()));
  EXPECT_TRUE(make(folder.path() + "/"));
  EXPECT_TRUE(make("/"));
}

TEST(RecursiveMkdir, AFileThatStandsIsSuccess) {
  Temp_Folder folder;
  write_file(folder / "file", "text");
  EXPECT_TRUE(make(folder / "file"));
  EXPECT_EQ(content_of(folder / "file"), "text");
}

TEST(RecursiveMkdir, BelowAFileIsFailure) {
  Temp_Folder folder;
  write_file(folder / "file", "");
  EXPECT_FALSE(make(folder / "file/a"));
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_FALSE(make(folder / "file/a/b"));
}

TEST(RecursiveMkdir, ATrailingSlashBelowAMissingParentMakesBothAndIsFailure) {
  Temp_Folder folder;
  EXPECT_FALSE(make(folder / "a/b/"));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_TRUE(is_folder(folder / "a/b"));
}

TEST(RecursiveMkdir, ATrailingSlashBelowAParentThatStandsIsSuccess) {
  Temp_Folder folder;
  EXPECT_TRUE(make(folder / "a/"));
  EXPECT_TRUE(is_folder(folder / "a"));
}

TEST(RecursiveMkdir, ANameWithoutSlashThatCannotBeMadeIsAnInvalidArgument) {
  EXPECT_FALSE(make(""));
  EXPECT_EQ(errno, EINVAL);
  EXPECT_FALSE(make(std::string(300, 'n')));
  EXPECT_EQ(errno, EINVAL);
}

TEST(RecursiveMkdir, ANameBelowTheRootThatCannotBeMadeIsAnInvalidArgument) {
  EXPECT_FALSE(make(std::string("/").append(300, 'n')));
  EXPECT_EQ(errno, EINVAL);
}

TEST(RecursiveMkdir, LeavesThePathAsItWas) {
  Temp_Folder folder;
  write_file(folder / "file", "");
  for (const char* name : {"a//b///c", "file/x/y"}) {
    const std::string before = folder / name;
    std::string path = before;
    recursive_mkdir(path.data(), 0755);
    EXPECT_EQ(path, before);
  }
}

TEST(RecursiveMkdir, FailsWithoutTheRightToWrite) {
  Temp_Folder folder;
  chmod(folder.path().c_str(), 0555);
  const Child_Result child = run_child([&] {
    if (geteuid() == 0 && setuid(65534) != 0) _exit(1);
    std::string path = folder / "a";
    const bool made = recursive_mkdir(path.data(), 0755);
    say("%d %s", made, strerror(errno));
  });
  chmod(folder.path().c_str(), 0755);
  EXPECT_EQ(child.out, "0 Permission denied");
}

bool insure(std::string path, struct stat* out) { return insure_stat(path.data(), out); }

TEST(InsureStat, TellsAboutWhatStands) {
  Temp_Folder folder;
  write_file(folder / "file", "12345");
  struct stat status = {};
  EXPECT_TRUE(insure(folder / "file", &status));
  EXPECT_EQ(status.st_size, 5);
}

TEST(InsureStat, MakesAMissingPathAsFolders) {
  Temp_Folder folder;
  const mode_t mask = umask(0);
  struct stat status = {};
  EXPECT_TRUE(insure(folder / "a/b", &status));
  umask(mask);
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_EQ(status.st_mode & 07777, 0755u);
  EXPECT_EQ(mode_of(folder / "a"), 0755u);
}

TEST(InsureStat, TrustsTheSecondLookWhenATrailingSlashMakesTheFoldersFail) {
  Temp_Folder folder;
  struct stat status = {};
  EXPECT_TRUE(insure(folder / "a/b/", &status));
  EXPECT_TRUE(S_ISDIR(status.st_mode));
}

TEST(InsureStat, MakesNothingForAnotherErrorThanAMissingPath) {
  Temp_Folder folder;
  write_file(folder / "file", "");
  struct stat status = {};
  EXPECT_FALSE(insure(folder / "file/a", &status));
  EXPECT_EQ(errno, ENOTDIR);
}

TEST(InsureStat, FailsWhenTheFolderCannotBeMade) {
  Temp_Folder folder;
  std::filesystem::create_symlink(folder / "nowhere/x", folder / "link");
  struct stat status = {};
  EXPECT_FALSE(insure(folder / "link", &status));
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
}  // namespace kvtest
