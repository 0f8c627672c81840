// Named events between processes.
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "tests/kernel32/sync/events.h"
#include "tests/support/ordinary_user.h"
#include "tests/support/side_process.h"

namespace {

using namespace kvtest;

// A process that opens the event by its name, says so, waits, and says what the wait gave.
int wait_for_event(const Talk& talk, const char* name, DWORD milliseconds) {
  const HANDLE event = open_event(name);
  talk.say(event != nullptr ? 'w' : '?');
  const DWORD result = WaitForSingleObject(event, milliseconds);
  talk.say(result == WAIT_OBJECT_0 ? 's' : result == WAIT_TIMEOUT ? 't' : 'f');
  return CloseHandle(event) == TRUE ? 0 : 1;
}

TEST(Processes, WhoWaitBeforeTheSignalAreWoken) {
  const HANDLE event = make_event(true, false, "before");
  Side_Process waiter([](const Talk& talk) { return wait_for_event(talk, "before", INFINITE); });
  EXPECT_EQ(waiter.hear(), 'w');
  SetEvent(event);
  EXPECT_EQ(waiter.hear(), 's');
  EXPECT_EQ(waiter.status(), 0);
  CloseHandle(event);
}

TEST(Processes, WhoWaitAfterTheSignalGoOnAtOnce) {
  const HANDLE event = make_event(true, true, "after");
  Side_Process waiter([](const Talk& talk) { return wait_for_event(talk, "after", 0); });
  EXPECT_EQ(waiter.hear(), 'w');
  EXPECT_EQ(waiter.hear(), 's');
  EXPECT_EQ(waiter.status(), 0);
  CloseHandle(event);
}

TEST(Processes, WhoOnlyLookSeeATimeOut) {
  const HANDLE event = make_event(true, false, "look");
  Side_Process waiter([](const Talk& talk) { return wait_for_event(talk, "look", 0); });
  EXPECT_EQ(waiter.hear(), 'w');
  EXPECT_EQ(waiter.hear(), 't');
  EXPECT_EQ(waiter.status(), 0);
  CloseHandle(event);
}

TEST(Processes, AllOfThemGoOnWhenAnEventOfManualResetIsSet) {
  const HANDLE event = make_event(true, false, "two m");
  const auto wait = [](const Talk& talk) { return wait_for_event(talk, "two m", INFINITE); };
  Side_Process first(wait), second(wait);
  EXPECT_EQ(first.hear(), 'w');
  EXPECT_EQ(second.hear(), 'w');
  SetEvent(event);
  EXPECT_EQ(first.hear(), 's');
  EXPECT_EQ(second.hear(), 's');
  for (Side_Process* each : {&first, &second}) EXPECT_EQ(each->status(), 0);
  CloseHandle(event);
}

// If one signal let both go, the second would be left over at the end.
TEST(Processes, OneOfThemGoesOnForEachSignalOfAnEventOfAutomaticReset) {
  const HANDLE event = make_event(false, false, "two a");
  const auto wait = [](const Talk& talk) { return wait_for_event(talk, "two a", INFINITE); };
  Side_Process first(wait), second(wait);
  EXPECT_EQ(first.hear(), 'w');
  EXPECT_EQ(second.hear(), 'w');
  SetEvent(event);
  pollfd ends[] = {{first.talk().descriptor(), POLLIN, 0}, {second.talk().descriptor(), POLLIN, 0}};
  ASSERT_GT(poll(ends, 2, -1), 0);
  const bool first_went = first.talk().has_word();
  EXPECT_EQ(first_went ? first.hear() : second.hear(), 's');
  SetEvent(event);
  EXPECT_EQ(first_went ? second.hear() : first.hear(), 's');
  EXPECT_EQ(look_at(event), 258u);
  for (Side_Process* each : {&first, &second}) EXPECT_EQ(each->status(), 0);
  CloseHandle(event);
}

TEST(Processes, ThatAreKilledWhileTheyWaitTakeNoSignal) {
  const HANDLE event = make_event(false, false, "killed");
  Side_Process waiter([](const Talk& talk) { return wait_for_event(talk, "killed", INFINITE); });
  EXPECT_EQ(waiter.hear(), 'w');
  waiter.end_by(SIGKILL);
  SetEvent(event);
  EXPECT_EQ(look_at(event), 0u);
  EXPECT_EQ(look_at(event), 258u);
  CloseHandle(event);
}

TEST(Processes, ThatAreKilledCloseTheirHandles) {
  Side_Process creator([](const Talk& talk) {
    make_event(true, true, "widowed");
    talk.say('m');
    talk.hear();
    return 0;
  });
  EXPECT_EQ(creator.hear(), 'm');
  const HANDLE seen = open_event("widowed");
  EXPECT_EQ(look_at(seen), 0u);
  CloseHandle(seen);
  creator.end_by(SIGKILL);
  SetLastError(0);
  EXPECT_EQ(open_event("widowed"), nullptr);
  EXPECT_EQ(GetLastError(), 2u);
  const HANDLE fresh = make_event(true, false, "widowed");
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_EQ(look_at(fresh), 258u);
  CloseHandle(fresh);
}

TEST(Processes, KeepAnEventForThoseWhoComeLater) {
  const HANDLE event = make_event(true, true, "kept");
  Side_Process keeper([](const Talk& talk) {
    const HANDLE own = open_event("kept");
    talk.say(own != nullptr ? 'o' : '?');
    talk.hear();
    return CloseHandle(own) == TRUE ? 0 : 1;
  });
  EXPECT_EQ(keeper.hear(), 'o');
  CloseHandle(event);
  const HANDLE later = open_event("kept");
  EXPECT_EQ(look_at(later), 0u);
  CloseHandle(later);
  keeper.say('e');
  EXPECT_EQ(keeper.status(), 0);
}

TEST(Processes, SweepAwayWhatKilledOnesHaveLeft) {
  CloseHandle(make_event(true, false, "swept"));
  const std::string long_name(260, 'l');
  {
    Side_Process victim([&](const Talk& talk) {
      make_event(true, true, "swept");
      make_event(true, true, long_name.c_str());
      talk.say('m');
      talk.hear();
      return 0;
    });
    EXPECT_EQ(victim.hear(), 'm');
    victim.end_by(SIGKILL);
  }
  ASSERT_EQ(event_files().count("swept"), 1u);
  ASSERT_GT(event_files().size(), 3u);
  Side_Process starter([](const Talk&) {
    return execl("/proc/self/exe", "sweeper", "--gtest_filter=Sweeper.DISABLED_MakesAnEvent",
                 "--gtest_also_run_disabled_tests", nullptr);
  });
  EXPECT_EQ(starter.status(), 0);
  EXPECT_EQ(event_files(), std::set<std::string>{".lock"});
}

// Not a test of its own: the first event of a program that was just started.
TEST(Sweeper, DISABLED_MakesAnEvent) {
  const HANDLE event = make_event(true, false, "first");
  EXPECT_EQ(event_files(), (std::set<std::string>{".lock", "first"}));
  CloseHandle(event);
}

TEST(Processes, CountWithTheHandlesThatTheyGotByAFork) {
  const HANDLE event = make_event(true, true, "forked");
  Side_Process child([event](const Talk& talk) {
    talk.hear();
    const bool whole = look_at(event) == 0 && ResetEvent(event) == TRUE;
    talk.say(whole ? 'g' : '?');
    talk.hear();
    const bool closed = CloseHandle(event) == TRUE;
    talk.say(closed ? 'c' : '?');
    talk.hear();
    return 0;
  });
  CloseHandle(event);
  child.say('1');
  EXPECT_EQ(child.hear(), 'g');
  const HANDLE again = open_event("forked");
  EXPECT_EQ(look_at(again), 258u);
  CloseHandle(again);
  child.say('2');
  EXPECT_EQ(child.hear(), 'c');
  EXPECT_EQ(open_event("forked"), nullptr);
  child.say('3');
  EXPECT_EQ(child.status(), 0);
}

TEST(Processes, ThatCloseACopyLeaveTheEventToTheirParent) {
  const HANDLE event = make_event(true, true, "parent's");
  Side_Process child([event](const Talk&) { return CloseHandle(event) == TRUE ? 0 : 1; });
  EXPECT_EQ(child.status(), 0);
  const HANDLE again = open_event("parent's");
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(look_at(again), 0u);
  CloseHandle(event);
  CloseHandle(again);
  EXPECT_EQ(event_files().count("parent's"), 0u);
}

TEST(Processes, ThatAreKilledWithTheFolderLockedLeaveItFree) {
  CloseHandle(make_event(true, false, "lock"));
  Side_Process holder([](const Talk& talk) {
    const int fd = open((event_folder() / ".lock").c_str(), O_RDWR | O_CLOEXEC);
    talk.say(flock(fd, LOCK_EX) == 0 ? 'h' : '?');
    talk.hear();
    return 0;
  });
  EXPECT_EQ(holder.hear(), 'h');
  holder.end_by(SIGKILL);
  const HANDLE event = make_event(true, true, "lock");
  EXPECT_EQ(look_at(event), 0u);
  CloseHandle(event);
}

TEST(Processes, ThatOpenAndCloseOneEventAtOnceNeverLoseEachOther) {
  const auto work = [](const Talk& talk) {
    talk.hear();
    int failed = 0;
    for (int i = 0; i < 1000; ++i) {
      const HANDLE event = make_event(true, false, "contended");
      const HANDLE again = open_event("contended");
      if (event == nullptr || again == nullptr || SetEvent(event) != TRUE || look_at(again) != 0) ++failed;
      CloseHandle(event);
      CloseHandle(again);
    }
    return failed == 0 ? 0 : 1;
  };
  Side_Process first(work), second(work), third(work);
  for (Side_Process* each : {&first, &second, &third}) each->say('g');
  for (Side_Process* each : {&first, &second, &third}) EXPECT_EQ(each->status(), 0);
  EXPECT_EQ(event_files().count("contended"), 0u);
}

TEST(Processes, HandAWordToAndFroTenThousandTimesWithoutALeak) {
  const HANDLE ping = make_event(false, false, "ping");
  const HANDLE pong = make_event(false, false, "pong");
  const std::set<std::string> before = open_descriptors();
  Side_Process other([](const Talk&) {
    const HANDLE hear = open_event("ping");
    const HANDLE answer = open_event("pong");
    for (int i = 0; i < 10000; ++i) {
      if (WaitForSingleObject(hear, INFINITE) != 0 || SetEvent(answer) != TRUE) return 1;
    }
    return look_at(hear) == WAIT_TIMEOUT ? 0 : 2;
  });
  int failed = 0;
  for (int i = 0; i < 10000; ++i) {
    SetEvent(ping);
    if (WaitForSingleObject(pong, INFINITE) != 0) ++failed;
  }
  EXPECT_EQ(other.status(), 0);
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(look_at(pong), 258u);
  CloseHandle(ping);
  CloseHandle(pong);
  EXPECT_LE(open_descriptors().size(), before.size() + 1);
}

TEST(Processes, OfAnotherUserHaveEventsOfTheirOwn) {
  if (geteuid() != 0) GTEST_SKIP() << "only root becomes another user";
  const HANDLE event = make_event(true, true, "user");
  chmod(std::filesystem::temp_directory_path().c_str(), 01777);
  chmod(std::filesystem::temp_directory_path().parent_path().c_str(), 0755);
  Side_Process other([](const Talk&) {
    if (!become_ordinary_user()) return 1;
    const HANDLE own = make_event(true, false, "user");
    if (GetLastError() != 0 || look_at(own) != WAIT_TIMEOUT) return 2;
    return CloseHandle(own) == TRUE ? 0 : 3;
  });
  EXPECT_EQ(other.status(), 0);
  CloseHandle(event);
}

}  // namespace
