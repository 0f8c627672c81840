// Faults inside guarded regions.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <kelvane/seh.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>
#include <vector>

namespace {

// A page that nobody may read.
class Forbidden_Page {
 public:
  Forbidden_Page() : page_(mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
  ~Forbidden_Page() { munmap(page_, 4096); }
  Forbidden_Page(const Forbidden_Page&) = delete;
  Forbidden_Page& operator=(const Forbidden_Page&) = delete;

  const volatile char* bytes() const { return static_cast<const volatile char*>(page_); }

 private:
  void* page_;
};

// A page of a file that ends before it.
class Page_Beyond_File {
 public:
  Page_Beyond_File() {
    const int file = memfd_create("beyond", MFD_CLOEXEC);
    page_ = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, file, 0);
    close(file);
  }
  ~Page_Beyond_File() { munmap(page_, 4096); }
  Page_Beyond_File(const Page_Beyond_File&) = delete;
  Page_Beyond_File& operator=(const Page_Beyond_File&) = delete;

  const volatile char* bytes() const { return static_cast<const volatile char*>(page_); }

 private:
  void* page_;
};

// Reads a byte inside a region; the signal that it met, else 0.
int signal_of_read(const volatile char* at) {
  SehFrame frame;
  if (sigsetjmp(frame.context, 0) == 0) {
    SehBeginTry3(&frame);
    (void)*at;
    SehEndTry(&frame);
    return 0;
  }
  if (frame.must_complete) SehExceptReturn2(1);
  return frame.signal_number;
}

std::vector<int> blocked_signals() {
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  std::vector<int> blocked;
  for (int signal = 1; signal < SIGRTMAX; ++signal) {
    if (sigismember(&mask, signal) == 1) blocked.push_back(signal);
  }
  return blocked;
}

}  // namespace

TEST(GuardedRegion, LetsAReadThatSucceedsPass) {
  const char byte = 'k';
  EXPECT_EQ(signal_of_read(&byte), 0);
}

TEST(GuardedRegion, CatchesAFaultAgainAndAgain) {
  const Forbidden_Page page;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(signal_of_read(page.bytes()), SIGSEGV);
}

TEST(GuardedRegion, CatchesAReadBeyondTheEndOfAMappedFile) {
  const Page_Beyond_File page;
  EXPECT_EQ(signal_of_read(page.bytes()), SIGBUS);
  EXPECT_EQ(signal_of_read(page.bytes()), SIGBUS);
}

TEST(GuardedRegion, CatchesAnAddressThatCannotExist) {
  const auto* nowhere = reinterpret_cast<const volatile char*>(uintptr_t{0x8000000000000000});
  EXPECT_EQ(signal_of_read(nowhere), SIGSEGV);
}

TEST(GuardedRegion, TellsThatTheDispatchIsToBeCompletedOnlyAfterAFault) {
  const Forbidden_Page page;
  SehFrame frame;
  if (sigsetjmp(frame.context, 0) == 0) {
    SehBeginTry3(&frame);
    EXPECT_EQ(frame.must_complete, 0);
    (void)*page.bytes();
    FAIL() << "the read did not fault";
  }
  EXPECT_NE(frame.must_complete, 0);
}

TEST(GuardedRegion, LeavesTheSignalMaskAsItWas) {
  const Forbidden_Page page;
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR1);
  sigset_t before;
  pthread_sigmask(SIG_SETMASK, &blocked, &before);
  EXPECT_EQ(signal_of_read(page.bytes()), SIGSEGV);
  EXPECT_EQ(blocked_signals(), std::vector<int>{SIGUSR1});
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(GuardedRegion, WorksOnAnAlternateStackAndLeavesItFree) {
  const Forbidden_Page page;
  std::thread([&page] {
    std::vector<char> memory(64 * 1024);
    stack_t stack{};
    stack.ss_sp = memory.data();
    stack.ss_size = memory.size();
    ASSERT_EQ(sigaltstack(&stack, nullptr), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(signal_of_read(page.bytes()), SIGSEGV);
    stack_t now{};
    sigaltstack(nullptr, &now);
    EXPECT_EQ(now.ss_sp, memory.data());
    EXPECT_EQ(now.ss_flags, 0);
    stack.ss_flags = SS_DISABLE;
    sigaltstack(&stack, nullptr);
  }).join();
}

TEST(GuardedRegion, GoesToTheInnermostFrame) {
  const Forbidden_Page page;
  volatile int inner = 0;
  SehFrame frame;
  if (sigsetjmp(frame.context, 0) == 0) {
    SehBeginTry3(&frame);
    inner = signal_of_read(page.bytes());
    SehEndTry(&frame);
    EXPECT_EQ(inner, SIGSEGV);
    EXPECT_EQ(frame.must_complete, 0);
  } else {
    FAIL() << "the outer frame caught it";
  }
}

TEST(GuardedRegion, GoesToTheOuterFrameOnceTheInnerOneIsClosed) {
  const Forbidden_Page page;
  volatile bool passed_inner = false;
  SehFrame frame;
  if (sigsetjmp(frame.context, 0) == 0) {
    SehBeginTry3(&frame);
    signal_of_read(page.bytes());
    passed_inner = true;
    (void)*page.bytes();
    FAIL() << "the read did not fault";
  }
  EXPECT_TRUE(passed_inner);
  EXPECT_EQ(frame.signal_number, SIGSEGV);
}

TEST(GuardedRegion, ThatAFaultLeftIsClosedAlready) {
  const Forbidden_Page page;
  SehFrame outer;
  SehFrame inner;
  if (sigsetjmp(outer.context, 0) == 0) {
    SehBeginTry3(&outer);
    if (sigsetjmp(inner.context, 0) == 0) {
      SehBeginTry3(&inner);
      (void)*page.bytes();
    }
    SehEndTry(&inner);
    (void)*page.bytes();
    FAIL() << "the read did not fault";
  }
  EXPECT_EQ(outer.signal_number, SIGSEGV);
}

TEST(GuardedRegion, IsEachThreadsOwn) {
  const Forbidden_Page page;
  std::vector<std::thread> threads;
  int caught[4] = {};
  for (int& count : caught) {
    threads.emplace_back([&page, &count] {
      for (int i = 0; i < 1000; ++i) count += signal_of_read(page.bytes()) == SIGSEGV;
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int count : caught) EXPECT_EQ(count, 1000);
}
