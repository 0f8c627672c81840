// Opening a file through a hard link of the opener's own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tests/registry/user_file.h"
#include "tests/support/ordinary_user.h"

namespace kvtest {
namespace {

class Proxy_File : public testing::Test {
 protected:
  static std::string read_all(const KvProxyFile& file) {
    char block[100];
    const ssize_t size = read(file.descriptor, block, sizeof block);
    return {block, block + (size > 0 ? size : 0)};
  }

  Temp_Folder folder;
  const std::string path = folder / "hkcu";
};

TEST_F(Proxy_File, HasItsFieldsInThePublishedOrder) {
  EXPECT_EQ(offsetof(KvProxyFile, descriptor), 0u);
  EXPECT_EQ(offsetof(KvProxyFile, linkName), 4u);
  EXPECT_EQ(offsetof(KvProxyFile, linked), 4100u);
}

TEST_F(Proxy_File, OpensTheFileThroughALinkBesideIt) {
  write_user_file(path, "content");
  const KvProxyFile file(path.c_str(), O_RDONLY, 0);
  EXPECT_EQ(read_all(file), "content");
  EXPECT_EQ(file.linked, 1);
  struct stat own, other;
  ASSERT_EQ(stat(path.c_str(), &own), 0);
  ASSERT_EQ(stat(file.linkName, &other), 0);
  EXPECT_EQ(own.st_ino, other.st_ino);
  char computer[65];
  ASSERT_EQ(gethostname(computer, sizeof computer), 0);
  const std::string start = path + "." + computer + "." + std::to_string(getpid()) + "_";
  EXPECT_EQ(std::string(file.linkName).substr(0, start.size()), start);
}

TEST_F(Proxy_File, RemovesTheLinkAndClosesTheDescriptorAtItsEnd) {
  write_user_file(path, "content");
  int descriptor = -1;
  {
    const KvProxyFile file(path.c_str(), O_RDONLY, 0);
    descriptor = file.descriptor;
    ASSERT_NE(names_in(folder.path()), "hkcu ");
  }
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
  EXPECT_EQ(content_of(path), "content");
}

TEST_F(Proxy_File, StaysOnTheFileThatAWriterReplaces) {
  write_user_file(path, "old");
  const KvProxyFile file(path.c_str(), O_RDONLY, 0);
  ASSERT_EQ(write_user_file(path, "new"), 0u);
  EXPECT_EQ(read_all(file), "old");
  EXPECT_EQ(content_of(file.linkName), "old");
  EXPECT_EQ(content_of(path), "new");
}

TEST_F(Proxy_File, WithoutTheFileNothingIsLinkedAndNothingOpened) {
  errno = 0;
  const KvProxyFile file(path.c_str(), O_RDONLY, 0);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(file.descriptor, -1);
  EXPECT_EQ(file.linked, 0);
  EXPECT_EQ(names_in(folder.path()), "");
}

TEST_F(Proxy_File, MakesTheFileItselfWhenTheFlagsSaySo) {
  const mode_t mask = umask(022);
  const KvProxyFile file(path.c_str(), O_RDWR | O_CREAT, 0640);
  umask(mask);
  EXPECT_NE(file.descriptor, -1);
  EXPECT_EQ(file.linked, 0);
  struct stat made;
  ASSERT_EQ(stat(path.c_str(), &made), 0);
  EXPECT_EQ(made.st_mode & 07777, 0640u);
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
}

TEST_F(Proxy_File, RemovesTheLinkAlsoWhenTheOpenFailed) {
  write_user_file(path, "content");
  {
    const KvProxyFile file(path.c_str(), O_RDONLY | O_DIRECTORY, 0);
    EXPECT_EQ(file.descriptor, -1);
    EXPECT_EQ(file.linked, 1);
  }
  EXPECT_EQ(names_in(folder.path()), "hkcu ");
}

TEST_F(Proxy_File, AStaleHandleIsAskedAgainUntilItAnswers) {
  write_user_file(path, "content");
  stale_links() = 1000;
  link_calls() = 0;
  const KvProxyFile file(path.c_str(), O_RDONLY, 0);
  EXPECT_EQ(link_calls(), 1001);
  EXPECT_EQ(file.linked, 1);
  EXPECT_EQ(read_all(file), "content");
}

TEST_F(Proxy_File, OpensTheFileItselfInAFolderThatTakesNoLink) {
  write_user_file(path, "content");
  ASSERT_EQ(chmod(folder.path().c_str(), 0555), 0);
  const Child_Result child = run_child([&] {
    if (chdir(folder.path().c_str()) != 0 || !become_ordinary_user()) _exit(1);
    const KvProxyFile file("hkcu", O_RDONLY, 0);
    printf("linked %d content %s", file.linked, read_all(file).c_str());
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "linked 0 content content");
  chmod(folder.path().c_str(), 0755);
}

TEST_F(Proxy_File, ANameBeyondTheBufferIsCutAndTheFileItselfOpened) {
  // The cut name is the file's own, which no link can replace.
  const std::string name = std::string(4091 - folder.path().size(), '/') + "hkcu";
  write_user_file(path, "content");
  const KvProxyFile file((folder.path() + name).c_str(), O_RDONLY, 0);
  EXPECT_EQ(std::string(file.linkName).size(), 4095u);
  EXPECT_EQ(file.linked, 0);
  EXPECT_EQ(read_all(file), "content");
}

}  // namespace
}  // namespace kvtest
