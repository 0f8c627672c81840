// Ends, console messages, folders, names and variables of a process.
#include <gtest/gtest.h>
#include <kelvane/process.h>
#include <kelvane/registry_ops.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <thread>

#include "tests/support/child.h"

namespace {

using kvtest::Child_Result;
using kvtest::Temp_Folder;

using Unique_Text = std::unique_ptr<char, decltype(&free)>;

void say_goodbye() { KvConsoleMessage("goodbye"); }

TEST(Exit, RunsTheExitHandlersAndGivesTheStatus) {
  Child_Result result = kvtest::run_child([] {
    atexit(say_goodbye);
    KvExit(3);
  });
  EXPECT_EQ(result.exit_status, 3);
  EXPECT_EQ(result.err, "goodbye");
}

TEST(UnderscoreExit, RunsNothing) {
  Child_Result result = kvtest::run_child([] {
    atexit(say_goodbye);
    Kv_Exit(255);
  });
  EXPECT_EQ(result.exit_status, 255);
  EXPECT_EQ(result.err, "");
}

TEST(ConsoleMessage, IsFormattedOnStandardError) {
  Child_Result result = kvtest::run_child([] { KvConsoleMessage("%s has %d %%\n", "disk", 5); });
  EXPECT_EQ(result.err, "disk has 5 %\n");
  EXPECT_EQ(result.out, "");
}

TEST(ConsoleMessage, IsWholeAtEveryLength) {
  for (size_t length : {0u, 1023u, 1024u, 1025u, 100000u}) {
    std::string text(length, 'x');
    EXPECT_EQ(kvtest::run_child([&] { KvConsoleMessage("%s", text.c_str()); }).err, text);
  }
}

TEST(ConsoleMessage, WithoutAConsoleDoesNothing) {
  Child_Result result = kvtest::run_child([] {
    close(STDERR_FILENO);
    KvConsoleMessage("lost");
  });
  EXPECT_EQ(result.exit_status, 0);
}

std::string temporary_directory(const char* setting) {
  return kvtest::run_child([=] {
           kvtest::detail::change_environment({setting});
           printf("%s", KvTmpDir(0));
         })
      .out;
}

TEST(TmpDir, IsTheEnvironmentsWithoutTrailingSlashes) {
  EXPECT_EQ(temporary_directory("TMPDIR=/some/where"), "/some/where");
  EXPECT_EQ(temporary_directory("TMPDIR=/some/where//"), "/some/where");
  EXPECT_EQ(temporary_directory("TMPDIR=/"), "");
}

TEST(TmpDir, IsTmpWhenNothingIsSet) {
  EXPECT_EQ(temporary_directory("TMPDIR"), "/tmp");
  EXPECT_EQ(temporary_directory("TMPDIR="), "/tmp");
}

TEST(TmpDir, IsSettledAtTheFirstCall) {
  Child_Result result = kvtest::run_child([] {
    setenv("TMPDIR", "/first", 1);
    KvTmpDir(0);
    setenv("TMPDIR", "/second", 1);
    printf("%s", KvTmpDir(0));
  });
  EXPECT_EQ(result.out, "/first");
}

TEST(Tempnam, GivesANewNameEachTimeAndMakesNothing) {
  Temp_Folder folder;
  Unique_Text first(Kv_tempnam(folder.path().c_str(), "hku"), free);
  Unique_Text second(Kv_tempnam(folder.path().c_str(), "hku"), free);
  EXPECT_STRNE(first.get(), second.get());
  EXPECT_EQ(std::string(first.get()).find(folder / "hku"), 0u);
  EXPECT_NE(access(first.get(), F_OK), 0);
}

TEST(Tempnam, PassesOverANameInUseAlsoByALinkThatPointsNowhere) {
  Temp_Folder folder;
  Unique_Text probe(Kv_tempnam(folder.path().c_str(), "x"), free);
  std::string stem(probe.get());
  size_t number = stem.rfind('.') + 1;
  int next = atoi(stem.c_str() + number) + 1;
  std::string taken = stem.substr(0, number) + std::to_string(next);
  std::string expected = stem.substr(0, number) + std::to_string(next + 1);
  ASSERT_EQ(symlink("/nowhere", taken.c_str()), 0);
  EXPECT_EQ(std::string(Unique_Text(Kv_tempnam(folder.path().c_str(), "x"), free).get()), expected);
}

TEST(Tempnam, WithoutADirectoryUsesTheTemporaryOne) {
  Child_Result result = kvtest::run_child([] {
    setenv("TMPDIR", "/some/where", 1);
    printf("%s", Kv_tempnam(nullptr, "hku"));
  });
  EXPECT_EQ(result.out.find("/some/where/hku"), 0u) << result.out;
}

// The function's result and what it left in the buffer, with this HOME.
std::string windows_directory(const std::string& home_setting, unsigned size) {
  return kvtest::run_child([&] {
           kvtest::detail::change_environment({home_setting});
           char directory[4096] = "before";
           unsigned length = KvGetUserWindowsDirectoryA(directory, size);
           printf("%u %s", length, directory);
         })
      .out;
}

TEST(UserWindowsDirectory, IsMadePrivatelyBelowHome) {
  Temp_Folder home;
  std::string expected = home / ".kv/windows";
  EXPECT_EQ(windows_directory("HOME=" + home.path(), 4096), std::to_string(expected.size()) + " " + expected);
  struct stat status;
  for (const char* made : {".kv", ".kv/windows"}) {
    ASSERT_EQ(stat((home / made).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFDIR | 0700));
  }
}

TEST(UserWindowsDirectory, MustFitWithItsTerminator) {
  Temp_Folder home;
  std::string expected = home / ".kv/windows";
  unsigned length = static_cast<unsigned>(expected.size());
  EXPECT_EQ(windows_directory("HOME=" + home.path(), length), "0 before");
  EXPECT_NE(access((home / ".kv").c_str(), F_OK), 0);
  EXPECT_EQ(windows_directory("HOME=" + home.path(), length + 1), std::to_string(length) + " " + expected);
}

TEST(UserWindowsDirectory, NeedsAHomeInWhichItCanBeMade) {
  EXPECT_EQ(windows_directory("HOME", 4096), "0 before");
  EXPECT_EQ(windows_directory("HOME=", 4096), "0 before");
  EXPECT_EQ(windows_directory("HOME=/proc/nowhere", 4096), "0 before");
}

TEST(UserWindowsDirectory, AFileInItsPlaceIsAFailure) {
  Temp_Folder home;
  ASSERT_EQ(mkdir((home / ".kv").c_str(), 0700), 0);
  fclose(fopen((home / ".kv/windows").c_str(), "w"));
  EXPECT_EQ(windows_directory("HOME=" + home.path(), 4096), "0 before");
}

TEST(EnvTrue, IsFalseForTheListedTextsInAnyCase) {
  for (const char* text : {"", "0", "no", "NO", "false", "False"}) {
    setenv("KVTEST_FLAG", text, 1);
    EXPECT_EQ(KvEnvTrue("KVTEST_FLAG"), 0) << text;
  }
  unsetenv("KVTEST_FLAG");
  EXPECT_EQ(KvEnvTrue("KVTEST_FLAG"), 0);
}

TEST(EnvTrue, IsTrueForAnythingElse) {
  for (const char* text : {"1", "yes", "true", "00", "nope", " "}) {
    setenv("KVTEST_FLAG", text, 1);
    EXPECT_EQ(KvEnvTrue("KVTEST_FLAG"), 1) << text;
  }
  unsetenv("KVTEST_FLAG");
}

TEST(ShortApplicationName, IsTheProgramsFileName) {
  EXPECT_STREQ(KvGetShortApplicationName(), "kernel32_process_test");
}

TEST(ClaimStart, TheFirstOfManyThreadsGetsIt) {
  Child_Result result = kvtest::run_child([] {
    int claims[4] = {};
    {
      std::vector<std::jthread> threads;
      for (int& claim : claims) threads.emplace_back([&claim] { claim = KvClaimStart(); });
    }
    printf("%d %d", claims[0] + claims[1] + claims[2] + claims[3], KvClaimStart());
  });
  EXPECT_EQ(result.out, "1 0");
}

struct Counting_Ops final : RegistryOps {
  int closes = 0;
  int Close() override { return ++closes; }
  int CloseKey(void*) override { return 0; }
};

TEST(CloseRegistryAtEnd, ClosesOnceThroughTheInstalledObject) {
  Child_Result result = kvtest::run_child([] {
    static Counting_Ops operations;
    registry_ops = &operations;
    KvCloseRegistryAtEnd();
    KvCloseRegistryAtEnd();
    _exit(operations.closes);
  });
  EXPECT_EQ(result.exit_status, 1);
}

TEST(CloseRegistryAtEnd, DoesNothingBeforeAnObjectIsInstalled) {
  Child_Result result = kvtest::run_child([] {
    static Counting_Ops operations;
    if (registry_ops != nullptr) _exit(100);
    KvCloseRegistryAtEnd();
    registry_ops = &operations;
    KvCloseRegistryAtEnd();
    _exit(operations.closes);
  });
  EXPECT_EQ(result.exit_status, 1);
}

}  // namespace
