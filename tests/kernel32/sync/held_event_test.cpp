// Events that outlive their handles.
#include <kelvane/event.h>

#include "tests/kernel32/sync/events.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;

TEST(Held_Event, IsTheSameEvent) {
  const HANDLE event = make_event(true, false);
  KvHeldEvent* held = KvHoldEvent(event);
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(look_at(event), 258u);
  KvSetHeldEvent(held);
  EXPECT_EQ(look_at(event), 0u);
  KvReleaseEvent(held);
  CloseHandle(event);
}

TEST(Held_Event, LivesOnWhenItsHandleIsClosed) {
  const HANDLE event = make_event(true, false, "held");
  KvHeldEvent* held = KvHoldEvent(event);
  CloseHandle(event);
  EXPECT_EQ(SetEvent(event), FALSE);
  KvSetHeldEvent(held);
  const HANDLE same = open_event("held");
  ASSERT_NE(same, nullptr);
  EXPECT_EQ(look_at(same), 0u);
  CloseHandle(same);
  KvReleaseEvent(held);
  EXPECT_EQ(open_event("held"), nullptr);
}

TEST(Held_Event, MustBeAnEventThatMayBeSet) {
  const HANDLE event = make_event(true, false, "held");
  const HANDLE reader = open_event("held", SYNCHRONIZE);
  const HANDLE process = OpenProcess(PROCESS_ALL_ACCESS, FALSE, static_cast<DWORD>(getpid()));
  SetLastError(0);
  EXPECT_EQ(KvHoldEvent(reader), nullptr);
  EXPECT_EQ(GetLastError(), 5u);
  for (HANDLE wrong : {process, static_cast<HANDLE>(nullptr), HANDLE(0x1234560)}) {
    SetLastError(0);
    EXPECT_EQ(KvHoldEvent(wrong), nullptr);
    EXPECT_EQ(GetLastError(), 6u);
  }
  KvReleaseEvent(nullptr);
  for (HANDLE each : {event, reader, process}) CloseHandle(each);
}

}  // namespace
