// Files made where others can make files, too.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <kelvane/process.h>
#include <sys/stat.h>

#include <cerrno>

#include "tests/support/child.h"

namespace {

class Private_File : public testing::Test {
 protected:
  kvtest::Temp_Folder folder;
  const std::string path = folder / "file";
};

TEST_F(Private_File, IsMadeWithTheModeThatTheMaskLeaves) {
  const mode_t mask = umask(027);
  const int descriptor = KvCreatePrivateFile(path.c_str(), O_RDWR | O_CREAT, 0666);
  umask(mask);
  ASSERT_NE(descriptor, -1);
  struct stat made;
  ASSERT_EQ(fstat(descriptor, &made), 0);
  EXPECT_EQ(made.st_mode & 07777, 0640u);
  close(descriptor);
}

TEST_F(Private_File, IsNotLeftToPrograms) {
  const int descriptor = KvCreatePrivateFile(path.c_str(), O_RDWR | O_CREAT, 0666);
  EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
  close(descriptor);
}

TEST_F(Private_File, ThatStandsIsOpenedAsItIs) {
  const int first = KvCreatePrivateFile(path.c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(write(first, "kept", 4), 4);
  const int second = KvCreatePrivateFile(path.c_str(), O_RDWR | O_CREAT, 0666);
  char content[5] = "";
  EXPECT_EQ(read(second, content, 4), 4);
  EXPECT_STREQ(content, "kept");
  close(first);
  close(second);
}

TEST_F(Private_File, IsNeverReachedThroughALink) {
  for (const char* target : {"there", "missing"}) {
    close(open((folder / "there").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(symlink((folder / target).c_str(), path.c_str()), 0);
    EXPECT_EQ(KvCreatePrivateFile(path.c_str(), O_RDWR | O_CREAT, 0666), -1);
    EXPECT_EQ(errno, ELOOP);
    unlink(path.c_str());
  }
  EXPECT_NE(access((folder / "missing").c_str(), F_OK), 0);
}

TEST_F(Private_File, InAMissingFolderIsMinus1) {
  EXPECT_EQ(KvCreatePrivateFile((folder / "no/file").c_str(), O_RDWR | O_CREAT, 0666), -1);
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
