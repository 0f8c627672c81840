// From one run of a program to the next: settings are kept whatever way it ends, the per-user image is whole
// after a normal end, and nothing is written to the program's output.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/store/act.h"

namespace kvtest {
namespace {

namespace fs = std::filesystem;

// A program's run with a HOME of this test's own and nothing of the registry configured.
class Runs : public testing::Test {
 protected:
  Child_Result run(const std::vector<Step>& steps, std::vector<std::string> environment = {}) {
    environment.insert(environment.begin(), {"HOME=" + home_.path(), "KVREGISTRY"});
    return act(steps, environment);
  }
  std::string home(const std::string& name) const { return home_ / name; }
  std::string image() const { return home(".kv/windows/hkcu.bin"); }
  fs::path core_data() const { return home(".kv/core_data"); }

 private:
  Temp_Folder home_;
};

TEST_F(Runs, FindWhatAnEarlierOneSet) {
  EXPECT_TRUE(answered(run({{"set", "HKLM\\Software\\A", "n", "machine"}, {"set", "HKCU\\Software\\A", "n", "user"}}),
                       "0\n0\n"));
  EXPECT_TRUE(
      answered(run({{"get", "HKLM\\Software\\A", "n"}, {"get", "HKCU\\Software\\A", "n"}}), "0 machine\n0 user\n"));
}

TEST_F(Runs, WithNothingConfiguredKeepTheirHiveBelowHomeForTheUserOnly) {
  ASSERT_TRUE(answered(run({{"set", "HKLM\\Software\\A", "n", "x"}}), "0\n"));
  EXPECT_TRUE(fs::is_regular_file(home(".kv/registry/hklm.bin")));
  EXPECT_EQ(fs::status(home(".kv/registry")).permissions(), fs::perms::owner_all);
}

TEST_F(Runs, WithNothingButHomeInTheEnvironmentWork) {
  const std::string env = "HOME=" + home("");
  EXPECT_TRUE(answered(run_program({"/usr/bin/env", "-i", env, KVTEST_ACT, "set", "HKCU\\S", "n", "x"}), "0\n"));
  EXPECT_TRUE(answered(run_program({"/usr/bin/env", "-i", env, KVTEST_ACT, "get", "HKCU\\S", "n"}), "0 x\n"));
}

TEST_F(Runs, KeepWhatWasSetWhateverWayTheyEnd) {
  for (const char* how : {"exit", "_exit", "quick_exit", "thread"}) {
    EXPECT_TRUE(answered(run({{"set", "HKCU\\S", how, "x"}, {"set", "HKLM\\S", how, "y"}, {"end", how}}), "0\n0\n"))
        << how;
    EXPECT_TRUE(answered(run({{"get", "HKCU\\S", how}, {"get", "HKLM\\S", how}}), "0 x\n0 y\n")) << how;
  }
}

TEST_F(Runs, LeaveTheUsersImageAtANormalEnd) {
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "x"}}), "0\n"));
  std::string first = content_of(image());
  EXPECT_FALSE(first.empty());
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "more", std::string(2000, 'm')}, {"end", "thread"}}), "0\n"));
  EXPECT_GT(content_of(image()).size(), first.size() + 2000);
}

TEST_F(Runs, ThatChangeNothingLeaveTheUsersImageAsItIs) {
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "x"}}), "0\n"));
  std::string before = content_of(image());
  auto written = fs::last_write_time(image());
  ASSERT_TRUE(answered(run({{"get", "HKCU\\S", "n"}}), "0 x\n"));
  EXPECT_EQ(content_of(image()), before);
  EXPECT_EQ(fs::last_write_time(image()), written);
}

TEST_F(Runs, ThatEndAbruptlyLeaveTheUsersImageAsItWas) {
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "x"}}), "0\n"));
  std::string before = content_of(image());
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "y"}, {"end", "_exit"}}), "0\n"));
  EXPECT_EQ(content_of(image()), before);
  EXPECT_TRUE(answered(run({{"get", "HKCU\\S", "n"}}), "0 y\n"));
}

TEST_F(Runs, LeaveNothingBesideTheUsersImage) {
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "x"}}), "0\n"));
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "y"}}), "0\n"));
  int files = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(home(".kv/windows"))) ++files;
  EXPECT_EQ(files, 1);
}

TEST_F(Runs, WithoutALiveHiveTakeTheImageAsItIs) {
  ASSERT_TRUE(answered(run({{"set", "HKCU\\Software\\Deep\\Er", "n", "x"}, {"set", "HKCU\\S", "\xC3\xA4\xFF", "y"}}),
                       "0\n0\n"));
  fs::remove_all(core_data());
  EXPECT_TRUE(
      answered(run({{"get", "HKCU\\Software\\Deep\\Er", "n"}, {"get", "HKCU\\S", "\xC3\xA4\xFF"}}), "0 x\n0 y\n"));
}

TEST_F(Runs, LeaveVolatileKeysOutOfTheUsersImage) {
  ASSERT_TRUE(
      answered(run({{"volatile", "HKCU\\Passing"}, {"set", "HKCU\\Passing", "n", "x"}, {"make", "HKCU\\Stays"}}),
               "0 1\n0\n0 1\n"));
  EXPECT_TRUE(answered(run({{"get", "HKCU\\Passing", "n"}}), "0 x\n"));
  fs::remove_all(core_data());
  EXPECT_TRUE(answered(run({{"open", "HKCU\\Passing"}, {"open", "HKCU\\Stays"}}), "2\n0\n"));
}

TEST_F(Runs, MayChangeTheirFolderAtAnyTime) {
  Temp_Folder elsewhere;
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "1"},
                            {"chdir", elsewhere.path()},
                            {"set", "HKCU\\S", "n", "2"},
                            {"set", "HKLM\\S", "n", "3"}}),
                       "0\n0\n0\n0\n"));
  EXPECT_TRUE(fs::is_empty(elsewhere.path()));
  EXPECT_TRUE(answered(run({{"get", "HKCU\\S", "n"}, {"get", "HKLM\\S", "n"}}), "0 2\n0 3\n"));
}

TEST_F(Runs, WithARelativeHiveStayWithItWhenTheirFolderChanges) {
  Temp_Folder here, elsewhere;
  const std::vector<std::string> relative = {"KVREGISTRY=machine.hive"};
  ASSERT_TRUE(answered(run({{"chdir", here.path()},
                            {"set", "HKLM\\S", "n", "1"},
                            {"chdir", elsewhere.path()},
                            {"get", "HKLM\\S", "n"},
                            {"set", "HKLM\\S", "n", "2"}},
                           relative),
                       "0\n0\n0\n0 1\n0\n"));
  EXPECT_TRUE(fs::is_empty(elsewhere.path()));
  EXPECT_TRUE(answered(run({{"chdir", here.path()}, {"get", "HKLM\\S", "n"}}, relative), "0\n0 2\n"));
}

TEST_F(Runs, WithAPerUserFileNamedWriteTheImageThere) {
  const std::vector<std::string> named = {"KVREGISTRY=" + home("m.hive") + ":" + home("user.image")};
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "x"}, {"set", "HKLM\\S", "n", "y"}}, named), "0\n0\n"));
  EXPECT_TRUE(fs::is_regular_file(home("m.hive")));
  EXPECT_GT(content_of(home("user.image")).size(), 0u);
  EXPECT_FALSE(fs::exists(image()));
  fs::remove_all(core_data());
  EXPECT_TRUE(answered(run({{"get", "HKCU\\S", "n"}}, named), "0 x\n"));
}

TEST_F(Runs, WithoutHomeKeepTheMachinesSettingsBelowTheTemporaryFolder) {
  Temp_Folder temporary;
  const std::string env = "TMPDIR=" + temporary.path();
  EXPECT_TRUE(answered(run_program({"/usr/bin/env", "-i", env, KVTEST_ACT, "set", "HKLM\\S", "n", "x"}), "0\n"));
  EXPECT_TRUE(answered(run_program({"/usr/bin/env", "-i", env, KVTEST_ACT, "get", "HKLM\\S", "n"}), "0 x\n"));
  EXPECT_FALSE(fs::is_empty(temporary.path()));
}

TEST_F(Runs, EndWhileTheirThreadsUseTheRegistry) {
  // Leaks cannot be looked for in threads that go on meanwhile.
  const std::vector<std::string> whatever_leaks = {"ASAN_OPTIONS=detect_leaks=0"};
  for (const char* how : {"exit", "thread", "_exit", "quick_exit"}) {
    const std::vector<Step> steps = {{"set", "HKCU\\S", "n", how}, {"busy", "HKCU\\Busy"}, {"end", how}};
    for (int round = 0; round < 5; ++round) EXPECT_TRUE(answered(run(steps, whatever_leaks), "0\nbusy\n"));
  }
  EXPECT_TRUE(answered(run({{"get", "HKCU\\S", "n"}, {"names", "HKCU\\Busy"}}), "0 quick_exit\n0 8\n"));
  fs::remove_all(core_data());
  EXPECT_TRUE(answered(run({{"names", "HKCU\\Busy"}}), "0 8\n"));
}

fs::perms mode_of(const std::string& file) { return fs::status(file).permissions(); }

TEST_F(Runs, GiveTheirHivesTheSameModeWhateverTheirMask) {
  for (const char* mask : {"0", "022", "077", "0177"}) {
    Temp_Folder folder;
    const std::string hive = folder / "m.hive";
    ASSERT_TRUE(answered(run({{"umask", mask}, {"set", "HKLM\\S", "n", "x"}}, {"KVREGISTRY=" + hive}), "masked\n0\n"));
    EXPECT_EQ(mode_of(hive), fs::perms(0664)) << mask;
    for (const std::string& beside : {hive + "-wal", hive + "-shm"}) {
      if (!fs::exists(beside)) continue;
      EXPECT_EQ(mode_of(beside), fs::perms(0664)) << beside << " " << mask;
    }
  }
}

TEST_F(Runs, GiveTheirMachineHiveTheModeOfKVREGUMASK) {
  const std::string hive = home("m.hive");
  ASSERT_TRUE(answered(run({{"set", "HKLM\\S", "n", "x"}}, {"KVREGISTRY=" + hive, "KVREGUMASK=027"}), "0\n"));
  EXPECT_EQ(mode_of(hive), fs::perms(0640));
}

TEST_F(Runs, KeepTheUsersHiveToTheUser) {
  ASSERT_TRUE(answered(run({{"umask", "0"}, {"set", "HKCU\\S", "n", "x"}}), "masked\n0\n"));
  int hives = 0;
  for (const auto& entry : fs::recursive_directory_iterator(core_data())) {
    if (!entry.is_regular_file()) continue;
    ++hives;
    EXPECT_EQ(entry.status().permissions() & (fs::perms::group_all | fs::perms::others_all), fs::perms::none)
        << entry.path();
  }
  EXPECT_GT(hives, 0);
}

TEST_F(Runs, StayWithTheirHivesWhenHomeChanges) {
  Temp_Folder other;
  ASSERT_TRUE(answered(run({{"set", "HKCU\\S", "n", "1"},
                            {"set", "HKLM\\S", "n", "1"},
                            {"setenv", "HOME", other.path()},
                            {"get", "HKCU\\S", "n"},
                            {"set", "HKCU\\S", "n", "2"},
                            {"set", "HKLM\\S", "n", "2"}}),
                       "0\n0\n0\n0 1\n0\n0\n"));
  EXPECT_TRUE(answered(run({{"get", "HKCU\\S", "n"}, {"get", "HKLM\\S", "n"}}), "0 2\n0 2\n"));
}

TEST_F(Runs, WithTheCLocaleSeeTheSameNamesAsOthers) {
  const std::string name =
      "Gr\xC3\xB6\xC3\x9F"
      "e";
  for (const char* locale : {"LC_ALL=C", "LC_ALL=POSIX", "LANG=C", "LC_ALL=C.UTF-8", "LANG"}) {
    EXPECT_TRUE(answered(run({{"set", "HKCU\\" + name, name, locale}}, {"LANG=C.UTF-8", locale}), "0\n")) << locale;
    EXPECT_TRUE(answered(run({{"get",
                               "HKCU\\GR\xC3\x96\xC3\x9F"
                               "E",
                               name},
                              {"names", "HKCU\\" + name}}),
                         "0 " + std::string(locale) + "\n0 1\n"))
        << locale;
  }
}

}  // namespace
}  // namespace kvtest
