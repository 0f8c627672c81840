// Processes that write one hive at once.
#include <fcntl.h>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

TEST(Writers, TwoProcessesLoseNoWriteAndNoCount) {
  Temp_Folder folder;
  std::vector<pid_t> children;
  fflush(nullptr);
  for (char who : {'x', 'y'}) {
    pid_t child = fork();
    if (child != 0) {
      children.push_back(child);
      continue;
    }
    std::unique_ptr<Registry> registry = registry_on(folder.path());
    Key key = make_key(*registry, root_of(*registry), u"shared");
    bool right = true;
    for (int i = 0; i < 200; ++i) {
      std::u16string name{static_cast<char16_t>(who), static_cast<char16_t>(0x4E00 + i)};
      right = right && put(*registry, key, name, std::to_string(i)) == Status::ok;
      Key sub;
      right = right && create(*registry, key, name, &sub) == Status::ok;
    }
    _exit(right ? 0 : 1);
  }
  for (pid_t child : children) {
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
  }
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key;
  ASSERT_EQ(registry->open(root_of(*registry), u"shared", &key), Status::ok);
  hive::Key_Counts counts = counts_of(*registry, key);
  EXPECT_EQ(counts.values, 400u);
  EXPECT_EQ(counts.sub_keys, 400u);
  EXPECT_EQ(value_names(*registry, key).size(), 400u);
  EXPECT_EQ(key_names(*registry, key).size(), 400u);
}

TEST(Writers, EightProcessesMakeOneHiveTogether) {
  for (int round = 0; round < 5; ++round) {
    Temp_Folder folder;
    std::vector<pid_t> children;
    fflush(nullptr);
    for (int i = 0; i < 8; ++i) {
      pid_t child = fork();
      if (child != 0) {
        children.push_back(child);
        continue;
      }
      std::unique_ptr<Registry> registry = registry_on(folder.path());
      Key key;
      _exit(create(*registry, root_of(*registry), std::u16string(1, static_cast<char16_t>(u'a' + i)), &key) ==
                    Status::ok
                ? 0
                : 1);
    }
    for (pid_t child : children) {
      int ended = -1;
      ASSERT_EQ(waitpid(child, &ended, 0), child);
      EXPECT_EQ(ended, 0);
    }
    std::unique_ptr<Registry> registry = registry_on(folder.path());
    EXPECT_EQ(key_names(*registry, root_of(*registry)).size(), 8u);
    EXPECT_EQ(key_names(*registry, root_of(*registry, Root::users)).size(), 2u);
  }
}

// A writer that waits in the queue and is killed there, or stops without writing, holds nobody for ever.
TEST(Writers, AStoppedOneInTheQueueDelaysOthersAtMostByTheTimeOut) {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"a");
  std::string queue = folder / "machine.bin-queue";
  kvtest::Child_Result taken = kvtest::run_child([&] {
    int fd = open(queue.c_str(), O_RDWR);
    struct flock every_place {};
    every_place.l_type = F_WRLCK;
    every_place.l_whence = SEEK_SET;
    every_place.l_start = 1 << 30;
    if (fd < 0 || fcntl(fd, F_OFD_SETLK, &every_place) != 0) _exit(1);
    _exit(put(*registry, key, u"v", "x") == Status::ok ? 0 : 2);
  });
  EXPECT_EQ(taken.exit_status, 0);
  EXPECT_EQ(get(*registry, key, u"v"), "x");
}

}  // namespace
