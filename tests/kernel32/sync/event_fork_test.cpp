// Forks beside threads that use events.
#include <pthread.h>
#include <sys/wait.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "tests/kernel32/sync/events.h"

namespace {

using namespace kvtest;

std::mutex own_lock;

// Forks so often while the work goes on; each child says whether it could use the event.
int good_children(int forks, HANDLE event, const std::function<void()>& work) {
  std::atomic<bool> stop{false};
  std::thread worker([&] {
    while (!stop) work();
  });
  int good = 0;
  for (int i = 0; i < forks; ++i) {
    const pid_t child = fork();
    if (child == 0) _exit(look_at(event) == 0 && ResetEvent(event) == TRUE && SetEvent(event) == TRUE ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    good += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
  }
  stop = true;
  worker.join();
  return good;
}

TEST(Forks, LeaveEventsUsableBesideThreadsThatMakeAndCloseThem) {
  const HANDLE event = make_event(true, true);
  EXPECT_EQ(good_children(100, event,
                          [] {
                            CloseHandle(make_event(true, false));
                            CloseHandle(make_event(true, false, "beside forks"));
                          }),
            100);
  CloseHandle(event);
}

// As a library does that locks itself for a fork and signals events with its lock held.
TEST(Forks, WaitForNobodyWhoUsesEventsUnderALockOfItsOwn) {
  ASSERT_EQ(pthread_atfork([] { own_lock.lock(); }, [] { own_lock.unlock(); }, [] { own_lock.unlock(); }), 0);
  const HANDLE event = make_event(true, true);
  EXPECT_EQ(good_children(100, event,
                          [event] {
                            const std::lock_guard guard(own_lock);
                            SetEvent(event);
                            CloseHandle(make_event(true, false, "under a lock"));
                          }),
            100);
  CloseHandle(event);
}

}  // namespace
