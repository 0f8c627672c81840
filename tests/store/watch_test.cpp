// Watching keys as a ported program does it: alone, beside other programs, in threads and after forks.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/store/act.h"
#include "tests/store/store_test.h"

namespace kvtest {
namespace {

constexpr DWORD patience = 60'000;  // milliseconds; far more than any test needs

// What the system says of each thread that watches.
std::vector<std::string> watching_threads() {
  std::vector<std::string> states;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string stat;
    std::getline(std::ifstream(task.path() / "stat"), stat);
    if (stat.find("(registry-watch)") != stat.npos) states.push_back(stat);
  }
  return states;
}

// Waits until they sleep, as they do for a second at a time. Before a fork: see why_not_fork_beside_threads.
void let_watching_threads_rest() {
  auto is_awake = [](const std::string& stat) { return stat.find("(registry-watch) S") == stat.npos; };
  for (std::vector<std::string> all = watching_threads(); std::any_of(all.begin(), all.end(), is_awake);) {
    all = watching_threads();
  }
}

class Watching : public Store_Test {
 protected:
  void TearDown() override {
    CloseHandle(event);
    SetLastError(last_error_before);
  }
  LSTATUS watch(HKEY at, DWORD filter, BOOL subtree = FALSE) {
    return RegNotifyChangeKeyValue(at, subtree, filter, event, TRUE);
  }
  bool is_told() { return WaitForSingleObject(event, patience) == WAIT_OBJECT_0; }
  bool is_silent() { return WaitForSingleObject(event, 0) == WAIT_TIMEOUT; }

  HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
};

TEST_F(Watching, AnswersAtOnceAndSignalsTheEventAtTheNextChange) {
  SetLastError(last_error_before);
  ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_LAST_SET), 0);
  EXPECT_EQ(GetLastError(), last_error_before);
  EXPECT_TRUE(is_silent());
  ASSERT_EQ(set_number(key, "v", 1), 0);
  EXPECT_TRUE(is_told());
  ASSERT_EQ(set_number(key, "v", 2), 0);
  EXPECT_TRUE(is_silent());
}

TEST_F(Watching, IsToldOfAChangeByAnotherProgram) {
  ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_LAST_SET), 0);
  let_watching_threads_rest();
  EXPECT_TRUE(answered(act({{"set", "HKCU\\" + path(), "v", "text"}}), "0\n"));
  EXPECT_TRUE(is_told());
  EXPECT_EQ(value_of(key, "v").data(), "text\0"s);
  ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_NAME, TRUE), 0);
  let_watching_threads_rest();
  EXPECT_TRUE(answered(act({{"make", "HKCU\\" + path() + "\\a\\b"}}), "0 1\n"));
  EXPECT_TRUE(is_told());
}

TEST_F(Watching, IsToldInTheMachinesHiveToo) {
  Key machine = created(HKEY_LOCAL_MACHINE, "Software\\Watched");
  ASSERT_EQ(watch(machine, REG_NOTIFY_CHANGE_NAME), 0);
  let_watching_threads_rest();
  EXPECT_TRUE(answered(act({{"make", "HKLM\\Software\\Watched\\sub"}}), "0 1\n"));
  EXPECT_TRUE(is_told());
  ASSERT_EQ(watch(machine, REG_NOTIFY_CHANGE_NAME), 0);
  let_watching_threads_rest();
  EXPECT_TRUE(answered(act({{"delete", "HKLM\\Software\\Watched\\sub"}}), "0\n"));
  EXPECT_TRUE(is_told());
}

TEST_F(Watching, ReadsEveryValueThatAnotherProgramSetsAndMissesNone) {
  let_watching_threads_rest();
  fflush(nullptr);
  pid_t writer = fork();
  if (writer == 0) {
    int wrong = 0;
    for (DWORD n = 1; n <= 200; ++n) wrong += set_number(key, "n", n) != 0;
    _exit(wrong == 0 ? 0 : 1);
  }
  std::string last;
  for (;;) {
    ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_LAST_SET), 0);
    last = value_of(key, "n").data();
    if (last == "\310\0\0\0"s) break;
    ASSERT_TRUE(is_told());
  }
  int status = -1;
  EXPECT_EQ(waitpid(writer, &status, 0), writer);
  EXPECT_EQ(status, 0);
}

TEST_F(Watching, WaitsInTheCallWithoutTheFlag) {
  // From the first call of a handle on nothing is missed, whenever the writer comes.
  ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_SECURITY), 0);
  let_watching_threads_rest();
  fflush(nullptr);
  pid_t writer = fork();
  if (writer == 0) _exit(set_number(key, "v", 1) == 0 ? 0 : 1);
  EXPECT_EQ(RegNotifyChangeKeyValue(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET, nullptr, FALSE), 0);
  EXPECT_EQ(value_of(key, "v").data(), "\1\0\0\0"s);
  EXPECT_EQ(waitpid(writer, nullptr, 0), writer);
}

TEST_F(Watching, OfAClosedKeyIsOver) {
  Key same = opened(key, "");
  ASSERT_EQ(watch(same, REG_NOTIFY_CHANGE_NAME), 0);
  same.close();
  EXPECT_TRUE(is_told());
}

TEST_F(Watching, OfADeletedKeyIsOverAndCannotBegin) {
  Key sub = created(key, "sub");
  ASSERT_EQ(watch(sub, REG_NOTIFY_CHANGE_SECURITY), 0);
  let_watching_threads_rest();
  EXPECT_TRUE(answered(act({{"delete", "HKCU\\" + path() + "\\sub"}}), "0\n"));
  EXPECT_TRUE(is_told());
  EXPECT_EQ(watch(sub, REG_NOTIFY_CHANGE_SECURITY), 1018);
}

TEST_F(Watching, RefusesWhatItCannotWatch) {
  EXPECT_EQ(watch(opened(key, "", KEY_READ & ~KEY_NOTIFY), REG_NOTIFY_CHANGE_NAME), 5);
  EXPECT_EQ(watch(handle_of(0x12345678), REG_NOTIFY_CHANGE_NAME), 6);
  EXPECT_EQ(watch(key, 0), 87);
  EXPECT_EQ(watch(key, 0x10), 87);
  EXPECT_EQ(RegNotifyChangeKeyValue(key, FALSE, REG_NOTIFY_CHANGE_NAME, nullptr, TRUE), 87);
  EXPECT_EQ(RegNotifyChangeKeyValue(key, FALSE, REG_NOTIFY_CHANGE_NAME, handle_of(0x1234560), TRUE), 6);
  EXPECT_TRUE(is_silent());
}

TEST_F(Watching, BelongsToTheProcessThatBegan) {
  ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_LAST_SET), 0);
  let_watching_threads_rest();
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    // The parent's event is the child's too; its watch is not, nor does the end of the child's handle signal it.
    const LSTATUS closed = RegCloseKey(key);
    const bool was_silent = is_silent();
    Key own = opened(HKEY_CURRENT_USER, path());
    const HANDLE others = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    const LSTATUS watched = RegNotifyChangeKeyValue(own, FALSE, REG_NOTIFY_CHANGE_NAME, others, TRUE);
    const bool made = created(own, "sub") != nullptr;
    const bool told = WaitForSingleObject(others, patience) == WAIT_OBJECT_0;
    _exit(closed == 0 && was_silent && watched == 0 && made && told && is_silent() ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(is_silent());
  ASSERT_EQ(set_number(key, "v", 1), 0);
  EXPECT_TRUE(is_told());
}

TEST_F(Watching, EndsQuietlyWithAProgramThatStillWaits) {
  let_watching_threads_rest();
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    watch(key, REG_NOTIFY_CHANGE_LAST_SET);
    std::thread([this] { RegNotifyChangeKeyValue(key, TRUE, REG_NOTIFY_CHANGE_NAME, nullptr, FALSE); }).detach();
    exit(7);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(Watching, HasOneThreadWhileItWaitsAndNoneAfterwards) {
  while (!watching_threads().empty()) std::this_thread::yield();  // of former tests
  ASSERT_EQ(set_number(key, "v", 1), 0);
  EXPECT_TRUE(watching_threads().empty());
  ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_LAST_SET), 0);
  EXPECT_EQ(watching_threads().size(), 1u);
  ASSERT_EQ(set_number(key, "v", 2), 0);
  ASSERT_TRUE(is_told());
  while (!watching_threads().empty()) std::this_thread::yield();  // the test's time ends one that stays
}

}  // namespace
}  // namespace kvtest
