// The example that keeps settings, run by two users and twenty processes at once, each user with settings of its own
// and both with one machine hive.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "tests/support/child.h"

namespace kvtest {
namespace {

constexpr uid_t nobody = 65534;
constexpr int runs_each = 10;

class Example : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can run a program as another user";
    std::filesystem::path folder = folder_.path();
    for (; folder.string().find("/kvtest.") != std::string::npos; folder = folder.parent_path()) {
      std::filesystem::permissions(folder, std::filesystem::perms(0755));
    }
    std::filesystem::create_directory(folder_ / "machine");
    std::filesystem::permissions(folder_ / "machine", std::filesystem::perms(0777));
    for (uid_t user : {uid_t{0}, nobody}) {
      std::filesystem::create_directory(home_of(user));
      ASSERT_EQ(chown(home_of(user).c_str(), user, user), 0);
    }
  }

  std::string home_of(uid_t user) const { return folder_ / ("home" + std::to_string(user)); }

  Child_Result run_as(uid_t user) const {
    return run_child([&] {
      if (user != 0 && (setgid(user) != 0 || setuid(user) != 0)) _exit(78);
      setenv("HOME", home_of(user).c_str(), 1);
      setenv("KVREGISTRY", (folder_ / "machine/machine.hive").c_str(), 1);
      setenv("KVREGUMASK", "0", 1);
      // What a process never frees is by design.
      setenv("ASAN_OPTIONS", "handle_segv=0:alloc_dealloc_mismatch=0:detect_leaks=0", 1);
      execl(KVTEST_SETTINGS, KVTEST_SETTINGS, static_cast<char*>(nullptr));
      fputs("the program may not be run", stderr);
      fflush(stderr);
      _exit(127);
    });
  }

  static std::string settings(unsigned run) {
    return "Run " + std::to_string(run) +
           ", settings of HKEY_CURRENT_USER\\Software\\Example Corporation\\Settings Demo:\n"
           "  Licence      6 bytes of type 3\n"
           "  RecentFiles  37 bytes of type 7\n"
           "  Runs         " +
           std::to_string(run) +
           "\n"
           "  Title        Settings d\xc3\xa9mo\n"
           "  recent file  C:\\Work\\report.txt\n"
           "  recent file  C:\\Work\\plan.txt\n"
           "Window:\n"
           "  Height       768\n"
           "  Left         120\n"
           "  Top          80\n"
           "  Width        1024\n";
  }

  const Temp_Folder folder_;
};

TEST_F(Example, KeepsTheSettingsOfTwoUsersApartInTwentyProcesses) {
  for (uid_t user : {uid_t{0}, nobody}) {
    Child_Result first = run_as(user);
    if (first.exit_status == 127) GTEST_SKIP() << first.err;
    EXPECT_EQ(first.out, settings(1));
    EXPECT_EQ(first.err, "");
  }
  std::vector<Child_Result> results(2 * runs_each);
  std::vector<std::thread> threads;
  for (int i = 0; i < 2 * runs_each; ++i) {
    threads.emplace_back([&, i] { results[i] = run_as(i % 2 == 0 ? 0 : nobody); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Child_Result& result : results) {
    EXPECT_EQ(result.exit_status, 0) << "signal " << result.signal;
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("  Height       768\n"), std::string::npos) << result.out;
  }
  // Reading the number of runs and writing the next one are two calls: runs at once may count as one.
  for (uid_t user : {uid_t{0}, nobody}) {
    const Child_Result last = run_as(user);
    unsigned run = 0;
    ASSERT_EQ(sscanf(last.out.c_str(), "Run %u,", &run), 1) << last.out;
    EXPECT_GT(run, 2u);
    EXPECT_LE(run, 2u + runs_each);
    EXPECT_EQ(last.out, settings(run));
    struct stat image;
    ASSERT_EQ(stat((home_of(user) + "/.kv/windows/hkcu.bin").c_str(), &image), 0);
    EXPECT_EQ(image.st_uid, user);
    EXPECT_GT(image.st_size, 100);
  }
}

}  // namespace
}  // namespace kvtest
