// The global critical section and its holds.
#include <gtest/gtest.h>
#include <kelvane/critical.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <thread>

#include "tests/support/child.h"

namespace {

// Whether another thread gets in while this one goes on; ends by the process's alarm when it does not.
void other_thread_passes() {
  std::thread([] {
    KvEnterKernelCritical();
    KvLeaveKernelCritical();
  }).join();
}

// Runs in a child, which an alarm ends if it waits for ever.
int status_of(const std::function<void()>& body) {
  return kvtest::run_child([&] {
           alarm(20);
           body();
           _exit(3);
         })
      .exit_status;
}

// Whether a second thread stays out until this one has let go, as seen by the second.
bool keeps_others_out(const std::function<void()>& let_go) {
  std::atomic<bool> open{false};
  std::atomic<bool> was_open{false};
  std::thread other([&] {
    KvEnterKernelCritical();
    was_open = open.load();
    KvLeaveKernelCritical();
  });
  std::this_thread::yield();
  open = true;
  let_go();
  other.join();
  return was_open;
}

}  // namespace

TEST(KernelCritical, IsRecursive) {
  KvEnterKernelCritical();
  KvEnterKernelCritical();
  KvLeaveKernelCritical();
  EXPECT_TRUE(keeps_others_out(KvLeaveKernelCritical));
}

TEST(KernelCritical, ReleasesEveryHoldOfTheThreadAtOnce) {
  EXPECT_EQ(status_of([] {
              for (int i = 0; i < 5; ++i) KvEnterKernelCritical();
              KvTotalUnblockKernelCritical();
              other_thread_passes();
            }),
            3);
}

TEST(KernelCritical, ReleasesNothingForAThreadWithoutHolds) {
  EXPECT_EQ(status_of([] {
              KvLeaveKernelCritical();
              KvTotalUnblockKernelCritical();
              other_thread_passes();
            }),
            3);
}

TEST(KernelCritical, KeepsAThreadsHoldsWhenAnotherReleasesItsOwn) {
  KvEnterKernelCritical();
  std::thread([] {
    KvLeaveKernelCritical();
    KvTotalUnblockKernelCritical();
  }).join();
  EXPECT_TRUE(keeps_others_out(KvTotalUnblockKernelCritical));
}

TEST(KernelCritical, IsStillHeldInAForkedChildOfItsHolder) {
  KvEnterKernelCritical();
  EXPECT_EQ(status_of([] {
              const bool kept = keeps_others_out(KvLeaveKernelCritical);
              _exit(kept ? 4 : 5);
            }),
            4);
  KvLeaveKernelCritical();
}

TEST(KernelCritical, IsFreeInAForkedChildWhenAnotherThreadHeldIt) {
  std::atomic<bool> held{false};
  std::atomic<bool> done{false};
  std::thread holder([&] {
    KvEnterKernelCritical();
    held = true;
    while (!done) std::this_thread::yield();
    KvLeaveKernelCritical();
  });
  while (!held) std::this_thread::yield();
  EXPECT_EQ(status_of([] {
              KvEnterKernelCritical();
              KvLeaveKernelCritical();
            }),
            3);
  done = true;
  holder.join();
}
