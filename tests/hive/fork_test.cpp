// Hives across forks: nothing of a hive's locks is shared, so what a child commits stays whatever its parent
// does.
#include <sys/syscall.h>

#include <thread>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Fork : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"a");

  // Another registry's view in another process.
  std::string seen_from_outside(std::u16string name) {
    kvtest::Child_Result child = kvtest::run_child([&] {
      std::unique_ptr<Registry> other = registry_on(folder.path());
      Key same;
      if (other->open(root_of(*other), u"a", &same) != Status::ok) _exit(1);
      printf("%s", get(*other, same, name).c_str());
    });
    return child.out;
  }
};

// The parent ends by _exit while its child goes on writing; both run outside of this process.
TEST_F(Fork, AChildWritesWhileItsParentEnds) {
  kvtest::Child_Result both = kvtest::run_child([&] {
    int ended[2];
    if (pipe(ended) != 0) _exit(2);
    put(*registry, key, u"parent", "p");
    if (fork() != 0) _exit(0);
    close(ended[1]);
    char byte;
    for (int i = 0; i < 50; ++i) {
      if (put(*registry, key, u"child", std::to_string(i)) != Status::ok) printf("failed ");
      if (i == 25 && read(ended[0], &byte, 1) != 0) printf("no end ");
    }
    printf("done");
  });
  EXPECT_EQ(both.out, "done");
  EXPECT_EQ(get(*registry, key, u"parent"), "p");
  EXPECT_EQ(get(*registry, key, u"child"), "49");
  EXPECT_EQ(seen_from_outside(u"child"), "49");
}

TEST_F(Fork, ParentAndChildWriteAtOnceAndLoseNothing) {
  fflush(nullptr);
  pid_t child = fork();
  std::u16string who = child == 0 ? u"child" : u"parent";
  Status status = Status::ok;
  for (int i = 0; i < 100 && status == Status::ok; ++i) {
    std::u16string name = who;
    name += static_cast<char16_t>(u'0' + i);
    Key made;
    status = create(*registry, key, name, &made);
  }
  if (child == 0) _exit(status == Status::ok ? 0 : 1);
  int ended = -1;
  ASSERT_EQ(waitpid(child, &ended, 0), child);
  EXPECT_EQ(ended, 0);
  EXPECT_EQ(status, Status::ok);
  // Some of the names differ only in case, and one ends in a separator.
  EXPECT_EQ(counts_of(*registry, key).sub_keys, key_names(*registry, key).size());
  EXPECT_EQ(key_names(*registry, key).size() % 2, 0u);
  EXPECT_GT(key_names(*registry, key).size(), 140u);
}

TEST_F(Fork, ADaemonThatForksTwiceAndClosesEverythingGoesOnWriting) {
  ASSERT_EQ(put(*registry, key, u"settings", "read before"), Status::ok);
  kvtest::Child_Result daemon = kvtest::run_child([&] {
    int told = dup(STDOUT_FILENO);
    if (get(*registry, key, u"settings") != "read before") _exit(1);
    if (fork() != 0) _exit(0);
    setsid();
    if (fork() != 0) _exit(0);
    for (int fd = 0; fd < 64; ++fd) {
      if (fd != told) close(fd);
    }
    open("/dev/null", O_RDWR);
    dup2(0, 1);
    dup2(0, 2);
    bool right = put(*registry, key, u"daemon", "written") == Status::ok && get(*registry, key, u"daemon") == "written";
    _exit(write(told, right ? "+" : "-", 1) == 1 ? 0 : 1);
  });
  EXPECT_EQ(daemon.out, "+");
  EXPECT_EQ(get(*registry, key, u"daemon"), "written");
}

TEST_F(Fork, AForkWaitsForNoHiveInTheMiddleOfAWrite) {
  if (const char* reason = kvtest::why_not_fork_beside_threads()) GTEST_SKIP() << reason;
  std::atomic<bool> stop = false;
  std::thread writer([&] {
    for (int i = 0; !stop; ++i) EXPECT_EQ(put(*registry, key, u"busy", std::to_string(i)), Status::ok);
  });
  for (int i = 0; i < 20; ++i) {
    fflush(nullptr);
    pid_t child = fork();
    if (child == 0) _exit(put(*registry, key, u"child", std::to_string(i)) == Status::ok ? 0 : 1);
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(get(*registry, key, u"child"), std::to_string(i));
  }
  stop = true;
  writer.join();
}

// A clone that passed by the fork handlers has copies of the descriptors without the locks.
TEST_F(Fork, ARawCloneLeavesTheConnectionAndItsDescriptorsAlone) {
  ASSERT_EQ(put(*registry, key, u"v", "parent"), Status::ok);
  fflush(nullptr);
  pid_t child = static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0));
  if (child == 0) _exit(put(*registry, key, u"v", "clone") == Status::ok ? 0 : 1);
  int ended = -1;
  ASSERT_EQ(waitpid(child, &ended, 0), child);
  EXPECT_EQ(ended, 0);
  EXPECT_EQ(get(*registry, key, u"v"), "clone");
  EXPECT_EQ(put(*registry, key, u"v", "after"), Status::ok);
  EXPECT_EQ(seen_from_outside(u"v"), "after");
}

}  // namespace
