// The file of the user's hive, replaced whole. Full disks are met where the registry is closed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "registry/hkcu_file.h"
#include "registry/unique_name.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

std::string content_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

DWORD write_image(const std::string& path, std::string image) {
  return KvWriteHKCUFile(path.c_str(), reinterpret_cast<unsigned char*>(image.data()), static_cast<int>(image.size()));
}

// The temporary name of the next write.
std::string next_unique_name(const std::string& path) {
  char name[4096];
  KvCreateUniqFileName(name, sizeof name, path.c_str());
  const std::string used = name;
  const size_t number = used.rfind('_') + 1;
  return used.substr(0, number) + std::to_string(std::stoi(used.substr(number)) + 1);
}

int files_in(const Temp_Folder& folder) {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

TEST(UserFile, IsMadeWhole) {
  Temp_Folder folder;
  const std::string image(3 << 20, 'i');
  EXPECT_EQ(write_image(folder / "hkcu", image), 0u);
  EXPECT_EQ(content_of(folder / "hkcu"), image);
  EXPECT_EQ(files_in(folder), 1);
}

TEST(UserFile, AnEmptyImageMakesAnEmptyFile) {
  Temp_Folder folder;
  std::ofstream(folder / "hkcu") << "old";
  EXPECT_EQ(KvWriteHKCUFile((folder / "hkcu").c_str(), nullptr, 0), 0u);
  EXPECT_TRUE(std::filesystem::exists(folder / "hkcu"));
  EXPECT_EQ(content_of(folder / "hkcu"), "");
}

TEST(UserFile, HasItsModeWhateverTheMask) {
  Temp_Folder folder;
  const mode_t mask = umask(0777);
  const DWORD result = write_image(folder / "hkcu", "image");
  umask(mask);
  struct stat status;
  EXPECT_EQ(result, 0u);
  ASSERT_EQ(stat((folder / "hkcu").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0666u);
}

TEST(UserFile, IsANewFileAtEachWrite) {
  Temp_Folder folder;
  struct stat first;
  struct stat second;
  write_image(folder / "hkcu", "one");
  const int reader = open((folder / "hkcu").c_str(), O_RDONLY | O_CLOEXEC);
  fstat(reader, &first);
  EXPECT_EQ(write_image(folder / "hkcu", "two"), 0u);
  stat((folder / "hkcu").c_str(), &second);
  EXPECT_NE(first.st_ino, second.st_ino);
  char text[4] = "";
  EXPECT_EQ(read(reader, text, 3), 3);
  EXPECT_STREQ(text, "one");
  close(reader);
}

TEST(UserFile, ALinkIsReplacedAndItsTargetKept) {
  Temp_Folder folder;
  std::ofstream(folder / "target") << "target";
  std::filesystem::create_symlink(folder / "target", folder / "hkcu");
  EXPECT_EQ(write_image(folder / "hkcu", "image"), 0u);
  EXPECT_FALSE(std::filesystem::is_symlink(folder / "hkcu"));
  EXPECT_EQ(content_of(folder / "hkcu"), "image");
  EXPECT_EQ(content_of(folder / "target"), "target");
}

TEST(UserFile, ALeftoverUnderTheTemporaryNameIsWrittenOver) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    std::ofstream(next_unique_name(folder / "hkcu")) << "a leftover";
    printf("%u", write_image(folder / "hkcu", "image"));
  });
  EXPECT_EQ(child.out, "0");
  EXPECT_EQ(content_of(folder / "hkcu"), "imagetover");
  EXPECT_EQ(files_in(folder), 1);
}

TEST(UserFile, AMissingFolderIsAccessDenied) {
  Temp_Folder folder;
  EXPECT_EQ(write_image(folder / "none/hkcu", "image"), 5u);
  EXPECT_EQ(files_in(folder), 0);
}

TEST(UserFile, AFolderThatMayNotBeWrittenIsAccessDenied) {
  Temp_Folder folder;
  chmod(folder.path().c_str(), 0555);
  const Child_Result child = run_child([&] {
    if (geteuid() == 0 && setuid(65534) != 0) _exit(1);
    printf("%u", write_image(folder / "hkcu", "image"));
  });
  chmod(folder.path().c_str(), 0755);
  EXPECT_EQ(child.out, "5");
}

TEST(UserFile, AFolderInItsPlaceIsAccessDeniedAndNothingIsLeft) {
  Temp_Folder folder;
  std::filesystem::create_directory(folder / "hkcu");
  EXPECT_EQ(write_image(folder / "hkcu", "image"), 5u);
  EXPECT_EQ(files_in(folder), 1);
}

TEST(UserFile, ANameThatFillsThePathIsAccessDenied) {
  EXPECT_EQ(write_image(std::string("/").append(5000, 'n'), "image"), 5u);
}

// In a child: files of at most four bytes.
void limit_files() {
  signal(SIGXFSZ, SIG_IGN);
  const rlimit four_bytes = {4, 4};
  setrlimit(RLIMIT_FSIZE, &four_bytes);
}

TEST(UserFile, AShortWriteIsAFullDiskAndKeepsTheOldFile) {
  Temp_Folder folder;
  std::ofstream(folder / "hkcu") << "old";
  const Child_Result child = run_child([&] {
    limit_files();
    printf("%u", write_image(folder / "hkcu", "image"));
    printf(" %u", write_image(folder / "hkcu2", "four"));
  });
  EXPECT_EQ(child.out, "112 0");
  EXPECT_EQ(content_of(folder / "hkcu"), "old");
  EXPECT_EQ(content_of(folder / "hkcu2"), "four");
  EXPECT_EQ(files_in(folder), 2);
}

TEST(UserFile, AWriteThatFailsIsAFullDisk) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    printf("%u", KvWriteHKCUFile((folder / "hkcu").c_str(), reinterpret_cast<unsigned char*>(uintptr_t{16}), 10));
  });
  EXPECT_EQ(child.out, "112");
  EXPECT_EQ(files_in(folder), 0);
}

// QUIRK short-write-leaks
TEST(UserFile, AShortWriteLeavesItsDescriptorOpen) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    const int before = dup(0);
    close(before);
    write_image(folder / "hkcu", "image");
    const int after_success = dup(0);
    close(after_success);
    limit_files();
    write_image(folder / "hkcu", "image");
    const int after_short_write = dup(0);
    printf("%d %d", after_success - before, after_short_write - before);
  });
  EXPECT_EQ(child.out, "0 1");
}

TEST(UserFile, AFailureLeavesNoDescriptorOpen) {
  Temp_Folder folder;
  std::filesystem::create_directory(folder / "hkcu");
  const Child_Result child = run_child([&] {
    const int before = dup(0);
    close(before);
    write_image(folder / "hkcu", "image");
    write_image(folder / "none/hkcu", "image");
    printf("%d", dup(0) - before);
  });
  EXPECT_EQ(child.out, "0");
}

}  // namespace
}  // namespace kvtest
