// The registry across fork: in a child that outlives its parent, in a daemon that closes every descriptor, with
// handles that were opened before, and while other threads write.
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "tests/store/act.h"
#include "tests/store/store_test.h"

namespace kvtest {
namespace {

// Waits until a process has ended.
void wait_for_end(pid_t process) {
  int fd = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
  pollfd end = {fd, POLLIN, 0};
  while (fd >= 0 && poll(&end, 1, -1) < 0) {
  }
  if (fd >= 0) close(fd);
}

// Forks, runs the body in the child, and gives the child's exit status.
int status_of_fork(const std::function<int()>& body) {
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class Fork : public Store_Test {
 protected:
  void SetUp() override {
    Store_Test::SetUp();
    ASSERT_EQ(set_number(key, "before", 1), 0);
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  }
  // Until every process that descends from this one has ended; how many ended otherwise than with 0.
  int reap_all() {
    int wrong = 0;
    for (int status = 0; wait(&status) > 0;) wrong += status != 0;
    return wrong;
  }
};

TEST_F(Fork, HandlesOfBeforeStayGoodInBoth) {
  Key inherited = opened(key, "");
  EXPECT_EQ(status_of_fork([&] {
              bool good = value_of(inherited, "before").data() == "\1\0\0\0"s &&
                          set_value(inherited, "child", REG_BINARY, "c") == 0 &&
                          created(inherited, "of the child") != nullptr && RegCloseKey(inherited) == 0;
              return good ? 0 : 1;
            }),
            0);
  EXPECT_EQ(value_of(inherited, "child").data(), "c");
  EXPECT_EQ(open_result(inherited, "of the child"), 0);
  EXPECT_EQ(set_value(inherited, "parent", REG_BINARY, "p"), 0);
}

TEST_F(Fork, AChildsHandlesAreItsOwn) {
  EXPECT_EQ(status_of_fork([&] { return RegCloseKey(key); }), 0);
  EXPECT_EQ(value_of(key, "before").data(), "\1\0\0\0"s);
}

TEST_F(Fork, AChildWritesWhileItsParentEnds) {
  for (int round = 0; round < 10; ++round) {
    const std::string name = "child" + std::to_string(round);
    EXPECT_EQ(status_of_fork([&] {
                set_value(key, "parent", REG_BINARY, "p");
                pid_t parent = getpid();
                if (fork() == 0) {
                  bool good = set_value(key, name.c_str(), REG_BINARY, "1") == 0;
                  wait_for_end(parent);
                  good = good && set_value(key, (name + "after").c_str(), REG_BINARY, "2") == 0;
                  _exit(good ? 0 : 1);
                }
                exit(0);  // closes the registry
                return 1;
              }),
              0);
    EXPECT_EQ(reap_all(), 0);
    EXPECT_EQ(value_of(key, name.c_str()).data(), "1");
    EXPECT_EQ(value_of(key, (name + "after").c_str()).data(), "2");
  }
}

TEST_F(Fork, AChildsWritesAreThereForAProgramThatComesLater) {
  EXPECT_EQ(status_of_fork([&] {
              Key software = created(HKEY_LOCAL_MACHINE, "Software\\Forked");
              return set_value(software, "n", REG_SZ, "x\0"s);
            }),
            0);
  EXPECT_TRUE(answered(act({{"get", "HKLM\\Software\\Forked", "n"}}), "0 x\n"));
}

TEST_F(Fork, ManyGenerationsEachAddTheirValue) {
  std::function<int(int)> live = [&](int generation) -> int {
    if (generation == 12) return 0;
    if (set_number(key, ("g" + std::to_string(generation)).c_str(), 1) != 0) return 1;
    return status_of_fork([&] { return live(generation + 1); });
  };
  EXPECT_EQ(live(0), 0);
  EXPECT_EQ(value_names(key).size(), 13u);
}

TEST_F(Fork, WhileAnotherThreadWritesDisturbsNeitherSide) {
  if (const char* reason = kvtest::why_not_fork_beside_threads()) GTEST_SKIP() << reason;
  std::atomic<bool> done = false;
  std::atomic<int> wrong = 0;
  std::atomic<DWORD> written = 0;
  std::thread writer([&] {
    for (DWORD number = 0; !done; ++number) {
      wrong += set_number(key, ("w" + std::to_string(number)).c_str(), number) != 0;
      written = number + 1;
    }
  });
  for (int child = 0; child < 40; ++child) {
    const std::string name = "c" + std::to_string(child);
    EXPECT_EQ(status_of_fork([&] {
                bool good = set_value(key, name.c_str(), REG_BINARY, "x") == 0 && value_of(key, name.c_str()).code == 0;
                return good ? 0 : 1;
              }),
              0);
  }
  done = true;
  writer.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(value_names(key).size(), 1u + 40u + written);
}

TEST_F(Fork, WhileOtherThreadsOpenAndCloseHandlesLeavesTheChildAWorkingRegistry) {
  if (const char* reason = kvtest::why_not_fork_beside_threads()) GTEST_SKIP() << reason;
  std::atomic<bool> done = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (!done) open_result(key, "");
    });
  }
  for (int child = 0; child < 40; ++child) {
    EXPECT_EQ(status_of_fork([&] {
                for (int i = 0; i < 20; ++i) {
                  if (open_result(key, "") != 0) return 1;
                }
                return set_number(key, "v", 1);
              }),
              0);
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
}

// The daemon's life: its own files under the numbers that the registry's descriptors had, and registry calls.
constexpr int own_files = 40;

int live_as_daemon(HKEY key, const std::string& folder) {
  if (setsid() < 0) return 1;
  if (pid_t child = fork(); child != 0) _exit(0);
  if (syscall(SYS_close_range, 0u, ~0u, 0u) != 0) return 2;
  for (int i = 0; i < own_files; ++i) {
    int fd = open((folder + "/own" + std::to_string(i)).c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    if (fd != i || write(fd, "mine", 4) != 4) return 3;
  }
  for (int i = 0; i < 30; ++i) {
    if (set_value(key, ("d" + std::to_string(i)).c_str(), REG_BINARY, std::string(3000, 'd')) != 0) return 4;
    if (value_of(key, "before").data() != "\1\0\0\0"s) return 5;
  }
  Key machine = created(HKEY_LOCAL_MACHINE, "Software\\Daemon");
  if (set_value(machine, "v", REG_BINARY, "machine") != 0) return 6;
  // The files are still the daemon's own, at their places.
  for (int i = 0; i < own_files; ++i) {
    if (pwrite(i, "MINE", 4, 4) != 4) return 7;
  }
  return 0;
}

class Daemon : public Fork {
 protected:
  void expect_own_files_untouched(const std::string& folder) {
    for (int i = 0; i < own_files; ++i) EXPECT_EQ(content_of(folder + "/own" + std::to_string(i)), "mineMINE") << i;
  }
  void expect_writes_kept() {
    for (int i = 0; i < 30; ++i) {
      EXPECT_EQ(value_of(key, ("d" + std::to_string(i)).c_str()).data(), std::string(3000, 'd')) << i;
    }
    EXPECT_EQ(value_of(opened(HKEY_LOCAL_MACHINE, "Software\\Daemon"), "v").data(), "machine");
  }
};

TEST_F(Daemon, ThatClosesEveryDescriptorKeepsItsFilesAndItsSettings) {
  Temp_Folder folder;
  ASSERT_NE(created(HKEY_LOCAL_MACHINE, "Software\\Daemon"), nullptr);
  EXPECT_EQ(status_of_fork([&] {
              if (fork() != 0) return 0;
              return live_as_daemon(key, folder.path());
            }),
            0);
  EXPECT_EQ(reap_all(), 0);
  expect_own_files_untouched(folder.path());
  expect_writes_kept();
}

TEST_F(Daemon, ThatClosesEveryDescriptorAfterItUsedTheRegistryItself) {
  Temp_Folder folder;
  EXPECT_EQ(status_of_fork([&] {
              if (fork() != 0) return 0;
              // In the process that will close them: descriptors of its own.
              if (fork() != 0) return 0;
              if (set_number(key, "opened", 1) != 0) return 8;
              if (set_number(created(HKEY_LOCAL_MACHINE, "Software\\Daemon"), "opened", 1) != 0) return 9;
              if (syscall(SYS_close_range, 0u, ~0u, 0u) != 0) return 2;
              for (int i = 0; i < own_files; ++i) {
                int fd = open((folder.path() + "/own" + std::to_string(i)).c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
                if (fd != i || write(fd, "mine", 4) != 4) return 3;
              }
              for (int i = 0; i < 30; ++i) {
                if (set_value(key, ("d" + std::to_string(i)).c_str(), REG_BINARY, std::string(3000, 'd')) != 0)
                  return 4;
              }
              if (set_value(opened(HKEY_LOCAL_MACHINE, "Software\\Daemon"), "v", REG_BINARY, "machine") != 0) return 6;
              for (int i = 0; i < own_files; ++i) {
                if (pwrite(i, "MINE", 4, 4) != 4) return 7;
              }
              return 0;
            }),
            0);
  EXPECT_EQ(reap_all(), 0);
  expect_own_files_untouched(folder.path());
  expect_writes_kept();
}

TEST_F(Daemon, WhoseClosedNumbersBecomeSocketsAndPipesWritesNothingIntoThem) {
  EXPECT_EQ(status_of_fork([&] {
              if (set_number(key, "opened", 1) != 0) return 8;
              if (syscall(SYS_close_range, 3u, ~0u, 0u) != 0) return 2;
              int ends[20][2];
              for (auto& pair : ends) {
                if (pipe2(pair, O_NONBLOCK) != 0) return 3;
              }
              for (int i = 0; i < 30; ++i) {
                if (set_value(key, ("d" + std::to_string(i)).c_str(), REG_BINARY, std::string(3000, 'd')) != 0)
                  return 4;
              }
              for (auto& pair : ends) {
                char byte;
                if (read(pair[0], &byte, 1) != -1 || errno != EAGAIN || write(pair[1], "x", 1) != 1) return 5;
              }
              return 0;
            }),
            0);
  for (int i = 0; i < 30; ++i) EXPECT_EQ(query_size(key, ("d" + std::to_string(i)).c_str()).size, 3000u);
}

TEST_F(Daemon, ThatClosesEveryDescriptorAndOpensNoneReadsAndWritesOn) {
  EXPECT_EQ(status_of_fork([&] {
              if (set_number(key, "opened", 1) != 0) return 8;
              for (int round = 0; round < 5; ++round) {
                if (syscall(SYS_close_range, 0u, ~0u, 0u) != 0) return 2;
                if (value_of(key, "before").data() != "\1\0\0\0"s) return 5;
                if (set_number(key, ("round" + std::to_string(round)).c_str(), 1) != 0) return 4;
              }
              return 0;
            }),
            0);
  EXPECT_EQ(value_names(key),
            (std::vector<std::string>{"before", "opened", "round0", "round1", "round2", "round3", "round4"}));
}

}  // namespace
}  // namespace kvtest
