// Watching keys through handles: by event, by waiting, and by handles that are closed, foreign or without right.
#include <winbase.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

constexpr DWORD patience = 60'000;  // milliseconds; far more than any test needs

class Watches : public Store_Test {
 protected:
  void TearDown() override {
    for (HANDLE each : events) CloseHandle(each);
    Store_Test::TearDown();
  }
  HANDLE new_event(bool manual_reset = false) {
    events.push_back(CreateEventA(nullptr, manual_reset, FALSE, nullptr));
    return events.back();
  }
  static DWORD watch(HKEY key, DWORD filter, HANDLE event, bool subtree = false) {
    return entries().KvIRegNotifyChangeKeyValue(key, subtree, filter, event, TRUE, nullptr);
  }
  static DWORD wait_for_change(HKEY key, DWORD filter) {
    return entries().KvIRegNotifyChangeKeyValue(key, FALSE, filter, nullptr, FALSE, nullptr);
  }
  static bool is_told(HANDLE event) { return WaitForSingleObject(event, patience) == WAIT_OBJECT_0; }

  std::vector<HANDLE> events;
};

TEST_F(Watches, SignalTheEventOnceForEachCall) {
  const HANDLE event = new_event();
  ASSERT_EQ(watch(base, REG_NOTIFY_CHANGE_LAST_SET, event), 0u);
  EXPECT_EQ(WaitForSingleObject(event, 0), 258u);
  ASSERT_EQ(set_value(base, u"v", REG_BINARY, "1"), 0u);
  EXPECT_TRUE(is_told(event));
  const HANDLE later = new_event();
  ASSERT_EQ(watch(base, REG_NOTIFY_CHANGE_LAST_SET, later), 0u);
  ASSERT_EQ(set_value(base, u"v", REG_BINARY, "2"), 0u);
  EXPECT_TRUE(is_told(later));
  EXPECT_EQ(WaitForSingleObject(event, 0), 258u);
}

TEST_F(Watches, TellOfKeysBelowWithSubtree) {
  const HKEY deep = made(u"a\\b");
  const HANDLE event = new_event();
  ASSERT_EQ(watch(base, REG_NOTIFY_CHANGE_NAME, event, true), 0u);
  HKEY sub = nullptr;
  ASSERT_EQ(create_key(deep, u"c", &sub), 0u);
  EXPECT_TRUE(is_told(event));
  close_key(sub);
  close_key(deep);
}

TEST_F(Watches, OfARootKeyNeedNoHandle) {
  const HANDLE event = new_event();
  ASSERT_EQ(watch(HKEY_CURRENT_USER, REG_NOTIFY_CHANGE_LAST_SET, event), 0u);
  ASSERT_EQ(set_value(HKEY_CURRENT_USER, u"v", REG_BINARY, "1"), 0u);
  EXPECT_TRUE(is_told(event));
}

TEST_F(Watches, OfAClosedHandleAreTold) {
  const HKEY key = made(u"k");
  const HANDLE event = new_event();
  ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_SECURITY, event), 0u);
  ASSERT_EQ(close_key(key), 0u);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
}

TEST_F(Watches, OfADeletedKeyAreToldAndTheNextCallIs1018) {
  const HKEY key = made(u"k");
  const HANDLE event = new_event();
  ASSERT_EQ(watch(key, REG_NOTIFY_CHANGE_SECURITY, event), 0u);
  ASSERT_EQ(delete_key(base, u"k"), 0u);
  EXPECT_TRUE(is_told(event));
  EXPECT_EQ(watch(key, REG_NOTIFY_CHANGE_SECURITY, event), 1018u);
  EXPECT_EQ(wait_for_change(key, REG_NOTIFY_CHANGE_SECURITY), 1018u);
  close_key(key);
}

TEST_F(Watches, WhoseEventHandleWasClosedSignalNoOtherObject) {
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  ASSERT_EQ(watch(base, REG_NOTIFY_CHANGE_LAST_SET, event), 0u);
  ASSERT_TRUE(CloseHandle(event));
  std::vector<HANDLE> others;
  for (int i = 0; i < 10; ++i) others.push_back(new_event(true));
  const HANDLE own = new_event();
  ASSERT_EQ(watch(base, REG_NOTIFY_CHANGE_LAST_SET, own), 0u);
  ASSERT_EQ(set_value(base, u"v", REG_BINARY, "1"), 0u);
  ASSERT_TRUE(is_told(own));
  for (HANDLE other : others) EXPECT_EQ(WaitForSingleObject(other, 0), 258u);
}

TEST_F(Watches, NeedTheRightToNotify) {
  const HANDLE event = new_event();
  const HKEY key = made(u"k", KEY_QUERY_VALUE | KEY_SET_VALUE);
  EXPECT_EQ(watch(key, REG_NOTIFY_CHANGE_LAST_SET, event), 5u);
  EXPECT_EQ(wait_for_change(key, REG_NOTIFY_CHANGE_LAST_SET), 5u);
  close_key(key);
  HKEY reader = nullptr;
  ASSERT_EQ(open_key(base, u"k", &reader, KEY_NOTIFY), 0u);
  EXPECT_EQ(watch(reader, REG_NOTIFY_CHANGE_LAST_SET, event), 0u);
  close_key(reader);
}

TEST_F(Watches, RefuseWhatIsNoKeyOrNoEvent) {
  SetLastError(77);
  EXPECT_EQ(watch(HKEY(0x1234560), REG_NOTIFY_CHANGE_NAME, new_event()), 6u);
  SetLastError(77);
  EXPECT_EQ(watch(base, REG_NOTIFY_CHANGE_NAME, HANDLE(0x1234560)), 6u);
  EXPECT_EQ(watch(HKEY_PERFORMANCE_DATA, REG_NOTIFY_CHANGE_NAME, events.front()), 6u);
  EXPECT_EQ(GetLastError(), 77u);
}

TEST_F(Watches, WaitUntilSomethingChanges) {
  std::thread writer;
  std::atomic<bool> has_set = false;
  const HANDLE begun = new_event();
  writer = std::thread([&] {
    WaitForSingleObject(begun, patience);
    has_set = true;
    EXPECT_EQ(set_value(base, u"v", REG_BINARY, "1"), 0u);
  });
  // The first call makes the beginning, so that the change is not missed whenever it comes.
  ASSERT_EQ(watch(base, REG_NOTIFY_CHANGE_SECURITY, new_event()), 0u);
  SetEvent(begun);
  EXPECT_EQ(wait_for_change(base, REG_NOTIFY_CHANGE_LAST_SET), 0u);
  EXPECT_TRUE(has_set);
  writer.join();
}

TEST_F(Watches, ThatWaitEndWhenAnotherThreadClosesTheKey) {
  const HKEY key = made(u"k");
  const auto is_waiting = [&] {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
      std::ifstream comm(task.path() / "comm");
      std::string name;
      if (std::getline(comm, name) && name == "registry-watch") return true;
    }
    return false;
  };
  while (is_waiting()) std::this_thread::yield();  // for former tests
  std::atomic<DWORD> code = 77;
  std::thread waiting([&] { code = wait_for_change(key, REG_NOTIFY_CHANGE_SECURITY); });
  // Until the thread waits there is nothing to end: its handle would be refused.
  while (!is_waiting()) std::this_thread::yield();
  ASSERT_EQ(close_key(key), 0u);
  waiting.join();
  EXPECT_EQ(code, 0u);
}

}  // namespace
