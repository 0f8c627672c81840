// Watches through a real server: by event, by waiting, by many at once.
#include <winbase.h>
#include <winnt.h>

#include <atomic>
#include <thread>

#include "tests/client/served.h"

namespace {

using namespace kvtest;

constexpr DWORD patience = 60'000;  // milliseconds; far more than any test needs

class Watching : public Served {
 protected:
  void TearDown() override {
    for (HANDLE each : events) CloseHandle(each);
    Served::TearDown();
  }
  HANDLE new_event() {
    events.push_back(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    return events.back();
  }
  static bool is_told(HANDLE event, DWORD wait = patience) { return WaitForSingleObject(event, wait) == 0; }

  std::vector<HANDLE> events;
};

TEST_F(Watching, AnEventIsSignalledByTheNextChangeOfAnotherClient) {
  impl::client::Client_Service& other = new_service(settings_for(server().endpoint()));
  const HANDLE event = new_event();
  ASSERT_EQ(service().watch_key(base, true, REG_NOTIFY_CHANGE_NAME, event), 0u);
  EXPECT_FALSE(is_told(event, 0));
  HKEY key = nullptr;
  ASSERT_EQ(other.open_key(HKEY_LOCAL_MACHINE, u"Tests", KEY_ALL_ACCESS, &key), 0u);
  const HKEY made = Client{other}.made(key, u"Watching.AnEventIsSignalledByTheNextChangeOfAnotherClient\\deep\\below");
  EXPECT_TRUE(is_told(event));
  other.close_key(made);
  other.close_key(key);
}

TEST_F(Watching, OnlyWaysOfTheFilterAreTold) {
  const HANDLE names = new_event(), values = new_event();
  ASSERT_EQ(service().watch_key(base, false, REG_NOTIFY_CHANGE_NAME, names), 0u);
  const HKEY again = client().made(base, u"");
  ASSERT_EQ(service().watch_key(again, false, REG_NOTIFY_CHANGE_LAST_SET, values), 0u);
  ASSERT_EQ(client().set(base, u"v", REG_BINARY, "1"), 0u);
  EXPECT_TRUE(is_told(values));
  EXPECT_FALSE(is_told(names, 0));
  service().close_key(again);
}

TEST_F(Watching, ACallWithoutEventComesBackWithTheChange) {
  std::atomic<bool> has_set = false;
  const HANDLE stands = new_event();
  ASSERT_EQ(service().watch_key(base, false, REG_NOTIFY_CHANGE_SECURITY, new_event()), 0u);
  std::thread writer([&] {
    WaitForSingleObject(stands, patience);
    has_set = true;
    EXPECT_EQ(client().set(base, u"v", REG_BINARY, "1"), 0u);
  });
  SetEvent(stands);
  EXPECT_EQ(service().watch_key(base, false, REG_NOTIFY_CHANGE_LAST_SET, nullptr), 0u);
  EXPECT_TRUE(has_set);
  writer.join();
}

TEST_F(Watching, ClosingTheKeyTellsWhoWaitsForIt) {
  const HKEY key = client().made(base, u"k");
  const HANDLE event = new_event();
  ASSERT_EQ(service().watch_key(key, false, REG_NOTIFY_CHANGE_SECURITY, event), 0u);
  ASSERT_EQ(service().close_key(key), 0u);
  EXPECT_TRUE(is_told(event));
}

TEST_F(Watching, DeletingTheKeyTellsAndTheNextCallIs1018) {
  const HKEY key = client().made(base, u"k");
  const HANDLE event = new_event();
  ASSERT_EQ(service().watch_key(key, false, REG_NOTIFY_CHANGE_SECURITY, event), 0u);
  ASSERT_EQ(service().delete_key(base, u"k"), 0u);
  EXPECT_TRUE(is_told(event));
  EXPECT_EQ(service().watch_key(key, false, REG_NOTIFY_CHANGE_SECURITY, event), 1018u);
  service().close_key(key);
}

TEST_F(Watching, RefusesWhatIsNoKeyNoEventOrWithoutTheRight) {
  HKEY writer = nullptr;
  ASSERT_EQ(service().open_key(base, u"", KEY_SET_VALUE, &writer), 0u);
  EXPECT_EQ(service().watch_key(writer, false, REG_NOTIFY_CHANGE_NAME, new_event()), 5u);
  EXPECT_EQ(service().watch_key(HKEY(0x1234560), false, REG_NOTIFY_CHANGE_NAME, new_event()), 6u);
  EXPECT_EQ(service().watch_key(HKEY_PERFORMANCE_DATA, false, REG_NOTIFY_CHANGE_NAME, new_event()), 6u);
  SetLastError(77);
  EXPECT_EQ(service().watch_key(base, false, REG_NOTIFY_CHANGE_NAME, HANDLE(0x1234560)), 6u);
  EXPECT_EQ(GetLastError(), 77u);
  service().close_key(writer);
}

TEST_F(Watching, HundredsOfWatchesAreAllTold) {
  std::vector<HKEY> keys;
  for (int i = 0; i < 200; ++i) {
    keys.push_back(client().made(base, u"k"));
    ASSERT_EQ(service().watch_key(keys.back(), false, REG_NOTIFY_CHANGE_LAST_SET, new_event()), 0u) << i;
  }
  ASSERT_EQ(client().set(keys.front(), u"v", REG_BINARY, "1"), 0u);
  for (HANDLE each : events) EXPECT_TRUE(is_told(each));
  for (HKEY each : keys) service().close_key(each);
}

}  // namespace
