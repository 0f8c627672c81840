// The user's hive file where the system's calls fail one by one: the code, the old file, and nothing left beside it.
#include <gtest/gtest.h>

#include <cerrno>

#include "tests/registry/file_doubles.h"
#include "tests/registry/user_file.h"

namespace kvtest {
namespace {

class Write_Faults : public testing::Test {
 protected:
  void SetUp() override { std::ofstream(file) << "old"; }
  void TearDown() override { file_fault() = {}; }

  // Writes where this call fails with this error.
  DWORD code_of(const char* call, int error, const std::string& image = "image") {
    file_fault() = {call, error};
    const DWORD code = write_user_file(file, image);
    EXPECT_EQ(file_fault().call, "") << "the call was not made";
    EXPECT_EQ(content_of(file), "old");
    EXPECT_EQ(names_in(folder.path()), "hkcu ");
    return code;
  }

  const Temp_Folder folder;
  const std::string file = folder / "hkcu";
};

TEST_F(Write_Faults, AFileThatFindsNoRoomIs112) { EXPECT_EQ(code_of("open", ENOSPC), 112u); }

TEST_F(Write_Faults, AFileThatCannotBeMadeForAnotherCauseIs5) {
  for (int error : {EACCES, EROFS, EMFILE, EDQUOT, ENOENT}) EXPECT_EQ(code_of("open", error), 5u) << error;
}

TEST_F(Write_Faults, AWriteThatFailsIs112WhateverTheCause) {
  for (int error : {ENOSPC, EIO, EDQUOT, EINTR}) EXPECT_EQ(code_of("write", error), 112u) << error;
}

TEST_F(Write_Faults, AWriteOfNoBytesThatFailsIs112Too) { EXPECT_EQ(code_of("write", EIO, ""), 112u); }

TEST_F(Write_Faults, ACloseThatFailsIs112WhateverTheCause) {
  for (int error : {ENOSPC, EIO, EDQUOT}) EXPECT_EQ(code_of("close", error), 112u) << error;
}

TEST_F(Write_Faults, ARenameThatFindsNoRoomIs112) { EXPECT_EQ(code_of("rename", ENOSPC), 112u); }

TEST_F(Write_Faults, ARenameThatFailsForAnotherCauseIs5) {
  for (int error : {EACCES, EXDEV, EROFS, EDQUOT}) EXPECT_EQ(code_of("rename", error), 5u) << error;
}

TEST_F(Write_Faults, WithoutAnyTheImageIsWrittenInOneCall) {
  const std::string image(10 << 20, 'i');
  write_calls() = 0;
  EXPECT_EQ(write_user_file(file, image), 0u);
  EXPECT_EQ(write_calls(), 1);
  EXPECT_TRUE(content_of(file) == image);
}

}  // namespace
}  // namespace kvtest
