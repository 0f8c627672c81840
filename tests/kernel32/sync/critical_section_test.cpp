// Critical sections.
#include <gtest/gtest.h>
#include <winbase.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace {

class CriticalSection : public testing::Test {
 protected:
  CriticalSection() {
    memset(&section_, 0xCC, sizeof section_);
    InitializeCriticalSection(&section_);
  }
  ~CriticalSection() override { DeleteCriticalSection(&section_); }

  CRITICAL_SECTION section_;
};

}  // namespace

TEST_F(CriticalSection, TakesFortyBytes) { EXPECT_EQ(sizeof(CRITICAL_SECTION), 40u); }

TEST_F(CriticalSection, LetsOneThreadInAtATime) {
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int step = 0; step < 5000; ++step) {
        EnterCriticalSection(&section_);
        ++count;
        LeaveCriticalSection(&section_);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 20000);
}

TEST_F(CriticalSection, MayBeEnteredAgainByItsThreadAndOpensWithTheLastLeave) {
  std::atomic<int> order{0};
  std::atomic<int> entered_after{0};
  EnterCriticalSection(&section_);
  EnterCriticalSection(&section_);
  std::thread other([&] {
    EnterCriticalSection(&section_);
    entered_after = order.load();
    LeaveCriticalSection(&section_);
  });
  LeaveCriticalSection(&section_);
  std::this_thread::yield();
  order = 1;
  LeaveCriticalSection(&section_);
  other.join();
  EXPECT_EQ(entered_after, 1);
}

TEST_F(CriticalSection, MayBeInitialisedAgainAfterItWasDeleted) {
  DeleteCriticalSection(&section_);
  InitializeCriticalSection(&section_);
  EnterCriticalSection(&section_);
  LeaveCriticalSection(&section_);
  std::atomic<bool> entered{false};
  std::thread([&] {
    EnterCriticalSection(&section_);
    entered = true;
    LeaveCriticalSection(&section_);
  }).join();
  EXPECT_TRUE(entered);
}
