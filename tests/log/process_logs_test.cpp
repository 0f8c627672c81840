// The loggers of the process: where each registry mode puts them. Each test has children of its own, because a
// log's place is settled once.
#include <gtest/gtest.h>
#include <kelvane/log.h>
#include <kelvane/process.h>
#include <sys/stat.h>

#include "tests/log/log_test.h"

namespace kvtest {
namespace {

// The log's name in a child of this mode and environment.
std::string name_of(KvLog& (*log)(), const char* mode, const std::vector<std::string>& environment) {
  const Child_Result child = run_child([&] {
    setenv("KVREGISTRY_MODE", mode, 1);
    detail::change_environment(environment);
    printf("%s", log().Name());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.err, "");
  return child.out;
}

TEST(RegLog, HasAFileInModesAboveOne) {
  Temp_Folder home;
  const std::string set = "HOME=" + home.path();
  for (const char* mode : {"0", "1"}) EXPECT_EQ(name_of(RegLog, mode, {set}), "stdout") << mode;
  for (const char* mode : {"2", "3", "7"}) EXPECT_EQ(name_of(RegLog, mode, {set}), home / "logs/regss.log") << mode;
}

// QUIRK log-modes-differ
TEST(RpcssLog, HasAFileInModesOtherThanOne) {
  Temp_Folder home;
  const std::string set = "HOME=" + home.path();
  const std::string file = home / "logs/kvrpcss_event.log";
  EXPECT_EQ(name_of(RpcssLog, "1", {set}), "stdout");
  for (const char* mode : {"0", "2", "3", "7"}) EXPECT_EQ(name_of(RpcssLog, mode, {set}), file) << mode;
}

TEST(RpcssLog, HasTheFileOfItsVariableInEveryMode) {
  Temp_Folder folder;
  const std::string set = "KVRPCSS_DEBUG_LOG=" + folder / "debug.log";
  for (const char* mode : {"0", "1", "2"}) EXPECT_EQ(name_of(RpcssLog, mode, {set}), folder / "debug.log") << mode;
  EXPECT_EQ(name_of(RegLog, "1", {set}), "stdout");
}

TEST(RpcssLog, GoesToStandardOutputWhenItsVariableIsEmpty) {
  EXPECT_EQ(name_of(RpcssLog, "2", {"KVRPCSS_DEBUG_LOG="}), "stdout");
}

TEST(ProcessLogs, LieInTheTemporaryDirectoryWithoutHome) {
  Temp_Folder folder;
  const std::vector<std::string> environment = {"HOME", "TMPDIR=" + folder.path()};
  EXPECT_EQ(name_of(RegLog, "2", environment), folder / "logs/regss.log");
  EXPECT_EQ(name_of(RpcssLog, "0", environment), folder / "logs/kvrpcss_event.log");
}

TEST(ProcessLogs, CutAPathThatIsTooLongAndReportIt) {
  const std::string home(5000, 'h');
  const Child_Result child = run_child([&] {
    setenv("KVREGISTRY_MODE", "2", 1);
    setenv("HOME", home.c_str(), 1);
    printf("%s", RegLog().Name());
  });
  EXPECT_EQ(child.out, "stdout");
  EXPECT_EQ(child.err, "Failed to create log file '" + home.substr(0, 4096) + "'!\n");
}

TEST(ProcessLogs, KeepTheirPlace) {
  Temp_Folder home;
  const Child_Result child = run_child([&] {
    setenv("KVREGISTRY_MODE", "2", 1);
    setenv("HOME", home.path().c_str(), 1);
    RegLog();
    setenv("HOME", "/elsewhere", 1);
    printf("%s %d %d", RegLog().Name(), &RegLog() == &RegLog(), &RegLog() == &RpcssLog());
  });
  EXPECT_EQ(child.out, home / "logs/regss.log" + " 1 0");
}

TEST(ProcessLogs, HaveTheirFolderAndFileMade) {
  Temp_Folder home;
  name_of(RegLog, "2", {"HOME=" + home.path()});
  struct stat folder;
  struct stat file;
  ASSERT_EQ(stat((home / "logs").c_str(), &folder), 0);
  ASSERT_EQ(stat((home / "logs/regss.log").c_str(), &file), 0);
  EXPECT_EQ(folder.st_mode & 07777, 0755u);
  EXPECT_EQ(file.st_mode & 07777, 0644u);
  EXPECT_EQ(content_of(home / "logs/regss.log"), record(1, started));
}

// What the first use asks of the registry, in a child.
std::string first_questions(KvLog& (*log)(), const char* mode, const char* library) {
  Temp_Folder home;
  const Child_Result child = run_child([&] {
    setenv("HOME", home.path().c_str(), 1);
    Settings_Double settings(mode, library);
    log();
    const kvrecording::Call first = settings.control().calls().at(0);
    const std::u16string path = first["sub_key"].text;
    printf("%s%zx %s", settings.calls().c_str(), first.raw("key"), std::string(path.begin(), path.end()).c_str());
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  return child.out;
}

TEST(ProcessLogs, OpenTheirSettingsAtTheFirstUse) {
  EXPECT_EQ(first_questions(RegLog, "1", "advapi32impl.dll"), "create;80000002 Software\\Tressaly\\regss\\log");
  EXPECT_EQ(first_questions(RpcssLog, "1", "advapi32impl.dll"), "create;80000002 Software\\Tressaly\\rpcss\\log");
}

TEST(ProcessLogs, AskForTheLevelOfTheBanner) {
  EXPECT_EQ(first_questions(RegLog, "2", "advapi32impl.dll"),
            "create;query LogLevel;query MaxSize;80000002 Software\\Tressaly\\regss\\log");
}

TEST(ProcessLogs, HaveNoBannerAtLevelZero) {
  Temp_Folder home;
  const Child_Result child = run_child([&] {
    setenv("HOME", home.path().c_str(), 1);
    Settings_Double settings("2");
    settings.set(u"LogLevel", 0);
    RegLog().Output(0, "zero");
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(content_of(home / "logs/regss.log"), record(1, "zero"));
}

TEST(ProcessLogs, WorkInAModeThatBindsNoRegistry) {
  Temp_Folder home;
  const Child_Result child = run_child([&] {
    setenv("HOME", home.path().c_str(), 1);
    setenv("KVREGISTRY_MODE", "7", 1);
    init_advapi32();
    RegLog().Output(1, "alive %d", KvRegistryIsAlive());
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(content_of(home / "logs/regss.log"), record(1, started) + record(2, "alive 1"));
}

TEST(ProcessLogs, MayBeUsedByTheImplementationWhileTheyOpenTheirKey) {
  Temp_Folder home;
  const Child_Result child = run_child([&] {
    setenv("HOME", home.path().c_str(), 1);
    Settings_Double settings("2");
    settings.on_open([] { RegLog().Output(0, "opening"); });
    RegLog().Output(0, "opened");
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(content_of(home / "logs/regss.log"), record(1, "opening") + record(2, started) + record(3, "opened"));
}

}  // namespace
}  // namespace kvtest
