// Processes that wait for others to become idle. The implementation library only records: what wakes them is the
// event.
#include "tests/notify/notifications.h"
#include "tests/support/side_process.h"

namespace kvtest {
namespace {

// Does as it is told until the talk ends: 'i' declares itself idle, 'x' ends.
int obey(const Talk& talk) {
  for (char word = talk.hear(); word == 'i'; word = talk.hear()) talk.say(AdvFlagWaitForInputIdle() == 0 ? 'd' : '?');
  return 0;
}

// Waits for the process; says 'w' before and the result's letter after.
int wait_for(const Talk& talk, pid_t target, unsigned milliseconds) {
  const HANDLE process = open_process(target);
  talk.say('w');
  const DWORD result = AdvWaitForInputIdle(process, milliseconds);
  talk.say(result == 0 ? 'i' : result == WAIT_TIMEOUT ? 't' : result == WAIT_FAILED ? 'f' : '?');
  return CloseHandle(process) == TRUE ? 0 : 1;
}

class Idle_Wait : public Notifications {
 protected:
  Side_Process target{obey};

  DWORD wait(unsigned milliseconds) {
    const HANDLE process = open_process(target.pid());
    const DWORD result = AdvWaitForInputIdle(process, milliseconds);
    CloseHandle(process);
    return result;
  }
  std::function<int(const Talk&)> waiter(unsigned milliseconds = INFINITE) {
    return [pid = target.pid(), milliseconds](const Talk& talk) { return wait_for(talk, pid, milliseconds); };
  }
};

TEST_F(Idle_Wait, GivesZeroAtOnceForAProcessThatIsIdle) {
  target.say('i');
  EXPECT_EQ(target.hear(), 'd');
  EXPECT_EQ(wait(0), 0u);
  EXPECT_EQ(wait(INFINITE), 0u);
  target.say('x');
  target.status();
  EXPECT_EQ(idle_state_of(target.pid()), "none");
}

TEST_F(Idle_Wait, EndsWhenTheProcessBecomesIdle) {
  Side_Process other(waiter());
  EXPECT_EQ(other.hear(), 'w');
  target.say('i');
  EXPECT_EQ(target.hear(), 'd');
  EXPECT_EQ(other.hear(), 'i');
  EXPECT_EQ(other.status(), 0);
}

TEST_F(Idle_Wait, FailsWhenTheProcessEndsBefore) {
  Side_Process other(waiter());
  EXPECT_EQ(other.hear(), 'w');
  target.say('x');
  EXPECT_EQ(other.hear(), 'f');
  target.status();
}

TEST_F(Idle_Wait, FailsForAProcessThatHasEndedAlready) {
  const HANDLE process = open_process(target.pid());
  target.end_by(SIGKILL);
  EXPECT_EQ(AdvWaitForInputIdle(process, INFINITE), 0xFFFFFFFFu);
  EXPECT_EQ(idle_state_of(target.pid()), "none");
  CloseHandle(process);
}

TEST_F(Idle_Wait, OfNoTimeIsATimeOutUntilTheProcessIsIdle) {
  EXPECT_EQ(wait(0), 258u);
  EXPECT_EQ(wait(10), 258u);
  target.say('i');
  EXPECT_EQ(target.hear(), 'd');
  EXPECT_EQ(wait(0), 0u);
}

TEST_F(Idle_Wait, EndsForEverybodyWhoWaits) {
  Side_Process first(waiter()), second(waiter());
  EXPECT_EQ(first.hear(), 'w');
  EXPECT_EQ(second.hear(), 'w');
  target.say('i');
  EXPECT_EQ(first.hear(), 'i');
  EXPECT_EQ(second.hear(), 'i');
}

TEST_F(Idle_Wait, OfAKilledProcessDisturbsNobody) {
  Side_Process first(waiter()), second(waiter());
  EXPECT_EQ(first.hear(), 'w');
  EXPECT_EQ(second.hear(), 'w');
  first.end_by(SIGKILL);
  target.say('i');
  EXPECT_EQ(target.hear(), 'd');
  EXPECT_EQ(second.hear(), 'i');
  EXPECT_EQ(wait(0), 0u);
}

TEST_F(Idle_Wait, LeavesNoDescriptorBehindInTenThousandRounds) {
  const std::size_t before = descriptor_count();
  int failed = 0;
  for (int i = 0; i < 5000; ++i) {
    failed += wait(0) == 258 ? 0 : 1;
    recording.reset();
  }
  target.say('i');
  EXPECT_EQ(target.hear(), 'd');
  for (int i = 0; i < 5000; ++i) {
    failed += wait(INFINITE) == 0 ? 0 : 1;
    recording.reset();
  }
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(descriptor_count(), before);
}

}  // namespace
}  // namespace kvtest
