// Waiting for one and for several.
#include <signal.h>

#include <array>
#include <atomic>
#include <thread>

#include "tests/kernel32/sync/events.h"

namespace {

using namespace kvtest;

class Wait : public testing::Test {
 protected:
  ~Wait() override {
    for (HANDLE event : events) CloseHandle(event);
  }
  HANDLE first = make_event(false, false);
  HANDLE second = make_event(false, false);
  HANDLE manual = make_event(true, false);
  const std::array<HANDLE, 3> events{first, second, manual};

  DWORD any(DWORD milliseconds = 0) { return WaitForMultipleObjects(3, events.data(), FALSE, milliseconds); }
  DWORD all(DWORD milliseconds = 0) { return WaitForMultipleObjects(3, events.data(), TRUE, milliseconds); }
};

TEST_F(Wait, ForAnyGivesTheFirstThatIsSignalledAndTakesNoOther) {
  SetEvent(second);
  SetEvent(manual);
  EXPECT_EQ(any(), 1u);
  EXPECT_EQ(any(), 2u);
  EXPECT_EQ(any(), 2u);
  SetEvent(first);
  SetEvent(second);
  EXPECT_EQ(any(), 0u);
  EXPECT_EQ(look_at(second), 0u);
}

TEST_F(Wait, EndsWithTheTimeOut) {
  EXPECT_EQ(any(0), 258u);
  EXPECT_EQ(any(20), 258u);
  EXPECT_EQ(all(0), 258u);
  EXPECT_EQ(all(20), 258u);
  EXPECT_EQ(WaitForSingleObject(first, 1), 258u);
}

TEST_F(Wait, TakesTheLongestTimes) {
  SetEvent(manual);
  EXPECT_EQ(any(0xFFFFFFFE), 2u);
  EXPECT_EQ(any(INFINITE), 2u);
}

TEST_F(Wait, LeavesTheLastErrorAlone) {
  SetLastError(77);
  any();
  SetEvent(first);
  any();
  EXPECT_EQ(GetLastError(), 77u);
}

TEST_F(Wait, ForAllTakesNothingUntilAllAreSignalled) {
  SetEvent(first);
  SetEvent(manual);
  EXPECT_EQ(all(), 258u);
  EXPECT_EQ(all(20), 258u);
  SetEvent(second);
  EXPECT_EQ(all(), 0u);
  EXPECT_EQ(look_at(first), 258u);
  EXPECT_EQ(look_at(second), 258u);
  EXPECT_EQ(look_at(manual), 0u);
}

TEST_F(Wait, ForAllSeesSignalsComeOneByOne) {
  std::thread setter([&] {
    for (HANDLE event : events) {
      std::this_thread::yield();
      SetEvent(event);
    }
  });
  EXPECT_EQ(all(INFINITE), 0u);
  setter.join();
}

TEST_F(Wait, OfSeveralThreadsForAllGivesEachSetToOne) {
  std::atomic<int> together{0};
  std::atomic<int> most{0};
  const auto work = [&] {
    const HANDLE both[] = {first, second};
    for (int i = 0; i < 200; ++i) {
      if (WaitForMultipleObjects(2, both, TRUE, INFINITE) != 0) return;
      most = std::max<int>(most, ++together);
      --together;
      SetEvent(second);
      SetEvent(first);
    }
  };
  SetEvent(first);
  SetEvent(second);
  std::thread one(work), other(work);
  one.join();
  other.join();
  EXPECT_EQ(most, 1);
  const HANDLE both[] = {first, second};
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 0), 0u);
}

TEST_F(Wait, RefusesWrongCountsWith87) {
  std::array<HANDLE, 65> many;
  many.fill(manual);
  SetEvent(manual);
  EXPECT_EQ(WaitForMultipleObjects(64, many.data(), FALSE, 0), 0u);
  for (DWORD count : {0u, 65u, 0xFFFFFFFFu}) {
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(count, many.data(), FALSE, 0), 0xFFFFFFFFu) << count;
    EXPECT_EQ(GetLastError(), 87u);
  }
  SetLastError(0);
  EXPECT_EQ(WaitForMultipleObjects(2, many.data(), TRUE, 0), 0xFFFFFFFFu);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(WaitForMultipleObjects(1, nullptr, FALSE, 0), 0xFFFFFFFFu);
  EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(Wait, RefusesAnUnknownHandleAmongGoodOnesWith6) {
  const HANDLE with_bad[] = {manual, reinterpret_cast<HANDLE>(0x100000)};
  SetEvent(manual);
  SetLastError(0);
  EXPECT_EQ(WaitForMultipleObjects(2, with_bad, FALSE, 0), 0xFFFFFFFFu);
  EXPECT_EQ(GetLastError(), 6u);
}

TEST_F(Wait, GoesOnAfterASignalHandler) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  struct sigaction before;
  sigaction(SIGUSR1, &action, &before);
  DWORD one = 77;
  DWORD whole = 77;
  std::thread waiter([&] {
    one = WaitForSingleObject(first, INFINITE);
    whole = all(INFINITE);
  });
  for (int i = 0; i < 50; ++i) {
    pthread_kill(waiter.native_handle(), SIGUSR1);
    std::this_thread::yield();
  }
  SetEvent(first);
  while (look_at(first) == 0) SetEvent(first);
  for (int i = 0; i < 50; ++i) {
    pthread_kill(waiter.native_handle(), SIGUSR1);
    std::this_thread::yield();
  }
  for (HANDLE event : events) SetEvent(event);
  waiter.join();
  sigaction(SIGUSR1, &before, nullptr);
  EXPECT_EQ(one, 0u);
  EXPECT_EQ(whole, 0u);
}

}  // namespace
