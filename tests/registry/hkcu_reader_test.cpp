// The user's hive file in memory.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/registry/user_file.h"
#include "tests/support/ordinary_user.h"

namespace kvtest {
namespace {

class Hkcu_Reader : public testing::Test {
 protected:
  static std::string content(const HKCUDataReader& reader) {
    return {reinterpret_cast<const char*>(reader.data), reader.size};
  }
  void expect_unmappable(std::string name) {
    const HKCUDataReader reader(name.data());
    EXPECT_EQ(reader.error, 14u);
    EXPECT_EQ(reader.data, nullptr);
  }

  Temp_Folder folder;
  std::string path = folder / "hkcu";
};

TEST_F(Hkcu_Reader, HasItsFieldsInThePublishedOrder) {
  EXPECT_EQ(offsetof(HKCUDataReader, error), 0u);
  EXPECT_EQ(offsetof(HKCUDataReader, data), 8u);
  EXPECT_EQ(offsetof(HKCUDataReader, size), 16u);
}

TEST_F(Hkcu_Reader, GivesEveryByteOfTheFile) {
  const std::string image("image\0with\xff bytes", 16);
  write_user_file(path, image);
  const HKCUDataReader reader(path.data());
  EXPECT_EQ(reader.error, 0u);
  EXPECT_EQ(reader.size, 16u);
  EXPECT_EQ(content(reader), image);
}

TEST_F(Hkcu_Reader, LeavesNeitherLinkNorDescriptorBehind) {
  write_user_file(path, "image");
  const std::string descriptors = names_in("/proc/self/fd");
  const HKCUDataReader reader(path.data());
  EXPECT_EQ(reader.error, 0u);
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
  EXPECT_EQ(names_in("/proc/self/fd"), descriptors);
}

TEST_F(Hkcu_Reader, KeepsTheOldContentWhenTheFileIsReplaced) {
  write_user_file(path, "old content");
  const HKCUDataReader reader(path.data());
  ASSERT_EQ(write_user_file(path, "new"), 0u);
  EXPECT_EQ(content(reader), "old content");
}

TEST_F(Hkcu_Reader, AMissingFileIs110) {
  const HKCUDataReader reader(path.data());
  EXPECT_EQ(reader.error, 110u);
  EXPECT_EQ(reader.data, nullptr);
  EXPECT_EQ(reader.size, 0u);
}

TEST_F(Hkcu_Reader, AFileThatMayNotBeReadIs110) {
  write_user_file(path, "image");
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  const Child_Result child = run_child([&] {
    if (chdir(folder.path().c_str()) != 0 || !become_ordinary_user()) _exit(1);
    char name[] = "hkcu";
    const HKCUDataReader reader(name);
    printf("%u %u %s", reader.error, reader.size, reader.data == nullptr ? "null" : "data");
  });
  EXPECT_EQ(child.out, "110 0 null");
}

TEST_F(Hkcu_Reader, AnEmptyFileIs14) {
  ASSERT_EQ(write_user_file(path, ""), 0u);
  expect_unmappable(path);
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
}

TEST_F(Hkcu_Reader, AFolderIs14) { expect_unmappable(folder.path()); }

// QUIRK reader-size-32-bit
TEST_F(Hkcu_Reader, AFileOf4GiBHasASizeOfZeroAndIs14) {
  write_user_file(path, "image");
  ASSERT_EQ(truncate(path.c_str(), 0x100000000), 0);
  expect_unmappable(path);
}

TEST_F(Hkcu_Reader, OfALargerFileTheRemainderIsMapped) {
  write_user_file(path, "image and more");
  ASSERT_EQ(truncate(path.c_str(), 0x100000005), 0);
  const HKCUDataReader reader(path.data());
  EXPECT_EQ(reader.error, 0u);
  EXPECT_EQ(content(reader), "image");
}

// One writer's image: a letter, repeated.
void write_images(const std::string& path, char letter, std::size_t size) {
  for (int i = 0; i < 50; ++i) {
    if (write_user_file(path, std::string(size, letter)) != 0) _exit(1);
  }
  _exit(0);
}

TEST_F(Hkcu_Reader, NeverSeesHalfAnImageOfManyWriters) {
  constexpr int writers = 5;
  ASSERT_EQ(write_user_file(path, "z"), 0u);
  for (int i = 0; i < writers; ++i) {
    if (fork() == 0) write_images(path, static_cast<char>('a' + i), 100000 + 1000 * static_cast<std::size_t>(i));
  }
  for (int ended = 0; ended < writers;) {
    const HKCUDataReader reader(path.data());
    ASSERT_EQ(reader.error, 0u);
    const std::string image = content(reader);
    const std::size_t whole = image[0] == 'z' ? 1 : 100000 + 1000 * static_cast<std::size_t>(image[0] - 'a');
    ASSERT_EQ(image.size(), whole);
    ASSERT_EQ(image.find_first_not_of(image[0]), std::string::npos);
    int status = 0;
    while (waitpid(-1, &status, WNOHANG) > 0) {
      EXPECT_EQ(status, 0);
      ++ended;
    }
  }
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
}

}  // namespace
}  // namespace kvtest
