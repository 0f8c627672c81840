// The user's hive file under names that leave little or no room for the name beside it.
#include <gtest/gtest.h>

#include "tests/registry/user_file.h"

namespace kvtest {
namespace {

class Hkcu_Long_Name : public testing::Test {
 protected:
  // The file's name with as many slashes as make it so long.
  std::string of_length(std::size_t length) const {
    return folder.path() + std::string(length - folder.path().size() - 4, '/') + "hkcu";
  }

  Temp_Folder folder;
  const std::string path = folder / "hkcu";
};

TEST_F(Hkcu_Long_Name, Of4095CharactersIsAccessDeniedAndTheFileStays) {
  write_user_file(path, "old content");
  EXPECT_EQ(write_user_file(of_length(4095), "new"), 5u);
  EXPECT_EQ(content_of(path), "old content");
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
}

TEST_F(Hkcu_Long_Name, Of4095CharactersIsNotMadeEither) {
  EXPECT_EQ(write_user_file(of_length(4095), "new"), 5u);
  EXPECT_EQ(names_in(folder.path()), "");
}

TEST_F(Hkcu_Long_Name, Of4094CharactersIsReplacedWhole) {
  write_user_file(path, "old content");
  EXPECT_EQ(write_user_file(of_length(4094), "new"), 0u);
  EXPECT_EQ(content_of(path), "new");
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
}

TEST_F(Hkcu_Long_Name, Of4096CharactersIsAccessDenied) {
  EXPECT_EQ(write_user_file(of_length(4096), "new"), 5u);
  EXPECT_EQ(names_in(folder.path()), "");
}

}  // namespace
}  // namespace kvtest
