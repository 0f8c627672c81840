// The event of input idle, as one process sees it.
#include <sys/stat.h>

#include "tests/notify/notifications.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

constexpr int some_pid = 0x01ABCDEF;
constexpr const char* some_event = "Kv__WaitForInputIdleEvent_01abcdef";

TEST_F(Notifications, OfIdleSetTheEventOfTheProcessAndCloseIt) {
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, some_event);
  answer("KvIReportNotification", 66);
  EXPECT_EQ(FlagWaitForInputIdle(some_pid, 1), 66);
  EXPECT_EQ(WaitForSingleObject(event, 0), 0u);
  EXPECT_EQ(WaitForSingleObject(event, 0), 0u);
  CloseHandle(event);
  EXPECT_EQ(state_of_event(some_event), "none");
  EXPECT_EQ(written_calls(), "KvIReportNotification 0 0 0");
}

TEST_F(Notifications, OfIdleKeepTheEventWhenTheyAreNotToCloseIt) {
  const auto child = run_child([] {
    FlagWaitForInputIdle(some_pid, 0);
    _exit(state_of_event(some_event) == "set" ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(state_of_event(some_event), "none");
}

// QUIRK idle-news-reported
TEST_F(Notifications, OfKind0ReachTheLibrarysOwnHandler) {
  EXPECT_EQ(AdvInitInputIdle(), 1);
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, some_event);
  char data[] = "not looked at";
  answer("KvIReportNotification", 5);
  EXPECT_EQ(KvNotification(some_pid, 0, data, 3), 5);
  EXPECT_EQ(WaitForSingleObject(event, 0), 0u);
  CloseHandle(event);
  EXPECT_EQ(state_of_event(some_event), "none");
  EXPECT_EQ(written_calls(), "KvIReportNotification 0 0 0");
  KvRegisterNotificationHandler(0, nullptr);
}

TEST_F(Notifications, OfIdleAreReportedAlsoWithoutAnEvent) {
  CloseHandle(CreateEventA(nullptr, TRUE, FALSE, some_event));
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("kv-events-" + std::to_string(geteuid()));
  chmod(folder.c_str(), 0777);
  answer("KvIReportNotification", 7);
  const int flagged = FlagWaitForInputIdle(some_pid, 1);
  const DWORD waited = AdvWaitForInputIdle(reinterpret_cast<HANDLE>(INT_PTR{-1}), INFINITE);
  chmod(folder.c_str(), 0700);
  EXPECT_EQ(flagged, 7);
  EXPECT_EQ(waited, 0xFFFFFFFFu);
  EXPECT_EQ(written_calls(), "KvIReportNotification 0 0 0");
}

TEST_F(Notifications, WaitForTheEventOrTheEndAfterTheRequest) {
  const HANDLE self = open_process(getpid());
  const std::size_t before = descriptor_count();
  recording.script("KvIRequestNotification", [](const kvrecording::Call& call) -> std::uint64_t {
    EXPECT_EQ(idle_state_of(static_cast<int>(call.raw("pid"))), "clear");
    FlagWaitForInputIdle(static_cast<int>(call.raw("pid")), 1);
    return 0;
  });
  EXPECT_EQ(AdvWaitForInputIdle(self, INFINITE), 0u);
  EXPECT_EQ(AdvWaitForInputIdle(self, 0), 258u);
  EXPECT_EQ(AdvWaitForInputIdle(self, 20), 258u);
  EXPECT_EQ(descriptor_count(), before);
  EXPECT_EQ(idle_state_of(getpid()), "none");
  const std::string pid = std::to_string(getpid());
  EXPECT_EQ(written_calls(), "KvIRequestNotification " + pid + " 0 1; KvIReportNotification 0 0 0; " +
                                 "KvIRequestNotification " + pid + " 0 1; KvIRequestNotification " + pid + " 0 1");
  CloseHandle(self);
}

TEST_F(Notifications, AreNotRequestedForWhatIsNoProcess) {
  const HANDLE event = CreateEventA(nullptr, TRUE, TRUE, nullptr);
  EXPECT_EQ(AdvWaitForInputIdle(event, 0), 0xFFFFFFFFu);
  EXPECT_EQ(AdvWaitForInputIdle(nullptr, INFINITE), 0xFFFFFFFFu);
  EXPECT_EQ(written_calls(), "");
  CloseHandle(event);
}

TEST_F(Notifications, AreAllThatAHandleWithoutTheRightToWaitGives) {
  const HANDLE self = open_process(getpid(), PROCESS_QUERY_INFORMATION);
  EXPECT_EQ(AdvWaitForInputIdle(self, 0), 0xFFFFFFFFu);
  EXPECT_EQ(written_calls(), "KvIRequestNotification " + std::to_string(getpid()) + " 0 1");
  EXPECT_EQ(idle_state_of(getpid()), "none");
  CloseHandle(self);
}

TEST_F(Notifications, ThatTheProcessIsIdleStayForItsLife) {
  const auto child = run_child([] {
    if (AdvFlagWaitForInputIdle() != 0 || idle_state_of(getpid()) != "set") _exit(1);
    const std::size_t before = descriptor_count();
    for (int i = 0; i < 2000; ++i) {
      bound_recording().reset();
      AdvFlagWaitForInputIdle();
    }
    if (descriptor_count() != before || idle_state_of(getpid()) != "set") _exit(2);
    for (int fd = 3; fd < 256; ++fd) close(fd);
    if (idle_state_of(getpid()) != "none") _exit(3);
    AdvFlagWaitForInputIdle();
    printf("%d", getpid());
    fflush(stdout);
    _exit(idle_state_of(getpid()) == "set" ? 0 : 4);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(idle_state_of(std::stoi("0" + child.out)), "none");
}

TEST_F(Notifications, ThatAForkedChildIsIdleSayNothingOfItsParent) {
  const auto child = run_child([] {
    AdvFlagWaitForInputIdle();
    const int parent = getpid();
    const auto grandchild = run_child([parent] {
      if (idle_state_of(getpid()) != "none") _exit(1);
      AdvFlagWaitForInputIdle();
      _exit(idle_state_of(getpid()) == "set" && idle_state_of(parent) == "set" ? 0 : 2);
    });
    if (idle_state_of(parent) != "set") _exit(3);
    _exit(grandchild.exit_status);
  });
  EXPECT_EQ(child.exit_status, 0);
}

}  // namespace
}  // namespace kvtest
