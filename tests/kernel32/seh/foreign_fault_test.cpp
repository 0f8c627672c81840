// Faults that no region guards, and the handlers of the program around ours.
#include <gtest/gtest.h>
#include <kelvane/seh.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

#include "tests/support/child.h"

namespace {

using kvtest::run_child;

volatile char* forbidden_page() {
  static void* const page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return static_cast<volatile char*>(page);
}

bool catches_a_fault() {
  SehFrame frame;
  if (sigsetjmp(frame.context, 0) == 0) {
    SehBeginTry3(&frame);
    (void)*forbidden_page();
    SehEndTry(&frame);
    return false;
  }
  if (frame.must_complete) SehExceptReturn2(1);
  return true;
}

void say(const char* text) { (void)!write(STDOUT_FILENO, text, strlen(text)); }

void set_handler(void (*handler)(int), int flags = 0) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigaction(SIGSEGV, &action, nullptr);
}

void set_default_handlers() {
  signal(SIGSEGV, SIG_DFL);
  signal(SIGBUS, SIG_DFL);
}

void open_page_and_say(int) {
  say("mended ");
  mprotect(const_cast<char*>(forbidden_page()), 4096, PROT_READ);
}

void say_and_exit(int) {
  say("handled");
  _exit(7);
}

struct sigaction found_before;

void chain_to_what_was_found(int signal, siginfo_t* info, void* context) {
  say("chained ");
  if ((found_before.sa_flags & SA_SIGINFO) != 0) {
    found_before.sa_sigaction(signal, info, context);
  } else {
    ::signal(signal, SIG_DFL);
  }
}

void set_chaining_handler() {
  struct sigaction action {};
  action.sa_sigaction = chain_to_what_was_found;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGSEGV, &action, &found_before);
}

void give_up_for_what_was_found(int) {
  say("gave up ");
  sigaction(SIGSEGV, &found_before, nullptr);
}

}  // namespace

TEST(ForeignFault, EndsTheProcessByItsSignalWhereNobodyHandlesIt) {
  const auto child = run_child([] {
    set_default_handlers();
    if (!catches_a_fault()) return;
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.signal, SIGSEGV);
}

TEST(ForeignFault, InAnotherThreadIsNotCaughtByThisThreadsRegion) {
  const auto child = run_child([] {
    set_default_handlers();
    SehFrame frame;
    if (sigsetjmp(frame.context, 0) == 0) {
      SehBeginTry3(&frame);
      std::thread([] { (void)*forbidden_page(); }).join();
      SehEndTry(&frame);
    }
  });
  EXPECT_EQ(child.signal, SIGSEGV);
}

TEST(ForeignFault, SentByKillInsideARegionEndsTheProcess) {
  for (const int signal : {SIGSEGV, SIGBUS}) {
    const auto child = run_child([signal] {
      set_default_handlers();
      SehFrame frame;
      if (sigsetjmp(frame.context, 0) == 0) {
        SehBeginTry3(&frame);
        kill(getpid(), signal);
        SehEndTry(&frame);
      }
    });
    EXPECT_EQ(child.signal, signal);
  }
}

TEST(ForeignFault, SentByKillIsIgnoredWhereItWasIgnored) {
  const auto child = run_child([] {
    signal(SIGSEGV, SIG_IGN);
    if (!catches_a_fault()) return;
    kill(getpid(), SIGSEGV);
    say("lives");
  });
  EXPECT_EQ(child.out, "lives");
  EXPECT_EQ(child.exit_status, 0);
}

TEST(ForeignFault, ThatIsIgnoredEndsTheProcessAllTheSame) {
  const auto child = run_child([] {
    signal(SIGSEGV, SIG_IGN);
    if (!catches_a_fault()) return;
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.signal, SIGSEGV);
}

TEST(ForeignFault, GoesToTheHandlerThatWasThereBefore) {
  const auto child = run_child([] {
    set_handler(say_and_exit);
    if (!catches_a_fault()) return;
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.out, "handled");
  EXPECT_EQ(child.exit_status, 7);
}

TEST(ForeignFault, GoesOnWhenThatHandlerMendsIt) {
  const auto child = run_child([] {
    set_handler(open_page_and_say);
    if (!catches_a_fault()) return;
    (void)*forbidden_page();
    mprotect(const_cast<char*>(forbidden_page()), 4096, PROT_NONE);
    (void)*forbidden_page();
    say("read twice");
  });
  EXPECT_EQ(child.out, "mended mended read twice");
}

TEST(ForeignFault, GivesThatHandlerTheAddressOfTheFault) {
  const auto child = run_child([] {
    struct sigaction action {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int, siginfo_t* info, void*) { _exit(info->si_addr == forbidden_page() + 5 ? 5 : 6); };
    sigaction(SIGSEGV, &action, nullptr);
    if (!catches_a_fault()) return;
    (void)forbidden_page()[5];
  });
  EXPECT_EQ(child.exit_status, 5);
}

TEST(ForeignFault, RunsThatHandlerWithTheMaskThatItAskedFor) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer runs every handler with all signals blocked";
#endif
  const auto child = run_child([] {
    struct sigaction action {};
    sigaddset(&action.sa_mask, SIGUSR1);
    action.sa_handler = [](int) {
      sigset_t mask;
      pthread_sigmask(SIG_SETMASK, nullptr, &mask);
      _exit(sigismember(&mask, SIGUSR1) + 2 * sigismember(&mask, SIGSEGV) + 4 * sigismember(&mask, SIGUSR2));
    };
    sigaction(SIGSEGV, &action, nullptr);
    if (!catches_a_fault()) return;
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.exit_status, 3);
}

TEST(ForeignFault, CallsAHandlerOnceThatAskedForNoMore) {
  const auto child = run_child([] {
    set_handler([](int) { say("once "); }, static_cast<int>(SA_RESETHAND));
    if (!catches_a_fault()) return;
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.out, "once ");
  EXPECT_EQ(child.signal, SIGSEGV);
}

TEST(ForeignFault, IsStillHandledAfterAHandlerLeftByAJump) {
  static sigjmp_buf back;
  const auto child = run_child([] {
    set_handler([](int) { siglongjmp(back, 1); });
    if (!catches_a_fault()) return;
    static int round = 0;
    for (round = 0; round < 3; ++round) {
      if (sigsetjmp(back, 1) == 0) (void)*forbidden_page();
      say("back ");
    }
  });
  EXPECT_EQ(child.out, "back back back ");
  EXPECT_EQ(child.exit_status, 0);
}

TEST(LaterHandler, StandsBehindOursFromTheNextRegionOn) {
  const auto child = run_child([] {
    set_default_handlers();
    if (!catches_a_fault()) return;
    set_handler(say_and_exit);
    if (!catches_a_fault()) return;
    say("caught ");
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.out, "caught handled");
  EXPECT_EQ(child.exit_status, 7);
}

TEST(LaterHandler, ThatChainsToOursReachesWhatWasThereBeforeOurs) {
  const auto child = run_child([] {
    set_handler(say_and_exit);
    if (!catches_a_fault()) return;
    set_chaining_handler();
    if (!catches_a_fault()) return;
    say("caught ");
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.out, "caught chained handled");
  EXPECT_EQ(child.exit_status, 7);
}

TEST(LaterHandler, ThatWasSetTwiceAndChainsToOursIsCalledOnce) {
  const auto child = run_child([] {
    set_default_handlers();
    if (!catches_a_fault()) return;
    set_chaining_handler();
    if (!catches_a_fault()) return;
    set_chaining_handler();
    if (!catches_a_fault()) return;
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.out, "chained ");
  EXPECT_EQ(child.signal, SIGSEGV);
}

TEST(LaterHandler, ThatGivesUpForOursEndsTheProcess) {
  const auto child = run_child([] {
    set_default_handlers();
    if (!catches_a_fault()) return;
    struct sigaction action {};
    action.sa_handler = give_up_for_what_was_found;
    sigaction(SIGSEGV, &action, &found_before);
    if (!catches_a_fault()) return;
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.out, "gave up ");
  EXPECT_EQ(child.signal, SIGSEGV);
}

TEST(LaterHandler, InFrontOfOursMayChainToTheRegionAndTheMaskIsRight) {
  const auto child = run_child([] {
    set_default_handlers();
    if (!catches_a_fault()) return;
    SehFrame frame;
    if (sigsetjmp(frame.context, 0) == 0) {
      SehBeginTry3(&frame);
      set_chaining_handler();
      (void)*forbidden_page();
      SehEndTry(&frame);
      return;
    }
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    _exit(sigismember(&mask, SIGSEGV) == 0 ? 4 : 5);
  });
  EXPECT_EQ(child.out, "chained ");
  EXPECT_EQ(child.exit_status, 4);
}

TEST(LaterHandler, MayComeAndGoForEver) {
  const auto child = run_child([] {
    set_handler(say_and_exit);
    for (int i = 0; i < 1000; ++i) {
      struct sigaction found;
      sigaction(SIGSEGV, nullptr, &found);
      set_handler(open_page_and_say);
      if (!catches_a_fault()) return;
      sigaction(SIGSEGV, &found, nullptr);
      if (!catches_a_fault()) return;
    }
    (void)*forbidden_page();
  });
  EXPECT_EQ(child.out, "handled");
  EXPECT_EQ(child.exit_status, 7);
}

TEST(ForkedChild, CatchesFaultsToo) {
  ASSERT_TRUE(catches_a_fault());
  EXPECT_EQ(run_child([] { _exit(catches_a_fault() ? 9 : 8); }).exit_status, 9);
}
