// Events of one process.
#include <fcntl.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/kernel32/sync/events.h"

namespace {

using namespace kvtest;

TEST_P(Any_Event, StartsAsItsCreatorSays) {
  const HANDLE manual = make_event(true, true);
  const HANDLE unsignalled = made(true, false);
  EXPECT_EQ(look_at(manual), 0u);
  EXPECT_EQ(look_at(unsignalled), 258u);
  CloseHandle(manual);
  CloseHandle(unsignalled);
  const HANDLE signalled = made(false, true);
  EXPECT_EQ(look_at(signalled), 0u);
  CloseHandle(signalled);
}

TEST_P(Any_Event, OfManualResetStaysSignalledUntilItIsReset) {
  const HANDLE event = made(true, false);
  EXPECT_EQ(SetEvent(event), TRUE);
  EXPECT_EQ(look_at(event), 0u);
  EXPECT_EQ(look_at(event), 0u);
  EXPECT_EQ(ResetEvent(event), TRUE);
  EXPECT_EQ(look_at(event), 258u);
  EXPECT_EQ(ResetEvent(event), TRUE);
  EXPECT_EQ(look_at(event), 258u);
  CloseHandle(event);
}

TEST_P(Any_Event, OfAutomaticResetGivesItsSignalToOneWaiter) {
  const HANDLE event = made(false, false);
  EXPECT_EQ(SetEvent(event), TRUE);
  EXPECT_EQ(look_at(event), 0u);
  EXPECT_EQ(look_at(event), 258u);
  CloseHandle(event);
}

TEST_P(Any_Event, SetSeveralTimesBeforeAWaitIsSignalledOnce) {
  const HANDLE event = made(false, true);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(SetEvent(event), TRUE);
  EXPECT_EQ(look_at(event), 0u);
  EXPECT_EQ(look_at(event), 258u);
  CloseHandle(event);
}

TEST_P(Any_Event, MayBeSetAnyNumberOfTimesAndIsResetAtOnce) {
  const HANDLE event = made(true, false);
  int failed = 0;
  for (int i = 0; i < 20000; ++i) failed += SetEvent(event) == TRUE ? 0 : 1;
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(look_at(event), 0u);
  ResetEvent(event);
  EXPECT_EQ(look_at(event), 258u);
  CloseHandle(event);
}

TEST_P(Any_Event, LetsOneThreadInAtATimeWhenUsedAsALock) {
  const HANDLE lock = made(false, true);
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int step = 0; step < 500; ++step) {
        WaitForSingleObject(lock, INFINITE);
        ++count;
        SetEvent(lock);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 2000);
  CloseHandle(lock);
}

TEST_P(Any_Event, IsWaitedForOnWhenItsHandleIsClosedMeanwhile) {
  const HANDLE event = made(true, false);
  HANDLE second = GetParam() == nullptr ? nullptr : open_event(GetParam());
  std::atomic<bool> waits{false};
  DWORD result = 77;
  std::thread waiter([&] {
    const HANDLE both[] = {event, second};
    waits = true;
    result = WaitForMultipleObjects(second == nullptr ? 1 : 2, both, FALSE, second == nullptr ? 50 : INFINITE);
  });
  while (!waits) std::this_thread::yield();
  CloseHandle(event);
  if (second != nullptr) SetEvent(second);
  waiter.join();
  // The close may also have come before the wait, which then has nothing to wait for.
  EXPECT_TRUE(result == 0xFFFFFFFF || result == (second == nullptr ? 258u : 0u)) << result;
  if (second != nullptr) CloseHandle(second);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Any_Event, testing::Values(nullptr, "any event"), name_of_kind);

TEST(Event, OfNoNameIsNewEachTime) {
  SetLastError(77);
  const HANDLE first = make_event(true, true);
  EXPECT_EQ(GetLastError(), 0u);
  const HANDLE second = make_event(true, false, "");
  EXPECT_EQ(GetLastError(), 0u);
  const HANDLE third = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE fourth = CreateEventW(nullptr, TRUE, FALSE, L"");
  EXPECT_EQ(look_at(first), 0u);
  for (HANDLE event : {second, third, fourth}) EXPECT_EQ(look_at(event), 258u);
  for (HANDLE event : {first, second, third, fourth}) EXPECT_EQ(CloseHandle(event), TRUE);
}

TEST(Event, TakesAnyTruthForTrue) {
  const HANDLE event = CreateEventA(nullptr, 7, -1, nullptr);
  EXPECT_EQ(look_at(event), 0u);
  EXPECT_EQ(look_at(event), 0u);
  CloseHandle(event);
}

TEST(Event, WithoutDescriptorsLeftIsRefusedWith4) {
  std::vector<int> taken;
  for (int fd = open("/dev/null", O_RDONLY); fd >= 0; fd = open("/dev/null", O_RDONLY)) taken.push_back(fd);
  SetLastError(0);
  const HANDLE event = make_event(true, false);
  const DWORD error = GetLastError();
  for (int fd : taken) close(fd);
  EXPECT_EQ(event, nullptr);
  EXPECT_EQ(error, 4u);
}

}  // namespace
