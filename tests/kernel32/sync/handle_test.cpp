// What handles are, and what becomes of their descriptors.
#include <fcntl.h>
#include <sys/eventfd.h>

#include <climits>
#include <filesystem>
#include <thread>
#include <vector>

#include "tests/kernel32/sync/events.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;

TEST(Handle, IsAMultipleOfFourThatFitsALong) {
  std::vector<HANDLE> events;
  for (int i = 0; i < 100; ++i) events.push_back(make_event(true, false));
  for (HANDLE event : events) {
    const auto value = reinterpret_cast<UINT_PTR>(event);
    EXPECT_EQ(value % 4, 0u);
    EXPECT_GE(value, 0x10000u);
    EXPECT_LE(value, static_cast<UINT_PTR>(INT_MAX));
    CloseHandle(event);
  }
}

TEST(Handle, ThatIsClosedIsRefusedWith6ByEveryFunction) {
  const HANDLE event = make_event(true, true);
  EXPECT_EQ(CloseHandle(event), TRUE);
  for (HANDLE stale : {event, static_cast<HANDLE>(nullptr), reinterpret_cast<HANDLE>(0x7FFFFFFC),
                       reinterpret_cast<HANDLE>(INT_PTR{-2}), reinterpret_cast<HANDLE>(INT_PTR{-4})}) {
    SetLastError(0);
    EXPECT_EQ(CloseHandle(stale), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    SetLastError(0);
    EXPECT_EQ(SetEvent(stale), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    SetLastError(0);
    EXPECT_EQ(ResetEvent(stale), FALSE);
    EXPECT_EQ(GetLastError(), 6u);
    SetLastError(0);
    EXPECT_EQ(WaitForSingleObject(stale, INFINITE), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 6u);
  }
}

TEST(Handle, ThatIsClosedIsNotGivenOutAgainSoon) {
  const HANDLE event = make_event(true, false);
  CloseHandle(event);
  for (int i = 0; i < 10000; ++i) {
    const HANDLE next = make_event(true, false);
    ASSERT_NE(next, event) << i;
    CloseHandle(next);
  }
}

TEST(Handle, OfTheProcessOrItsTokenNeedsNoClose) {
  EXPECT_EQ(CloseHandle(current_process()), TRUE);
  EXPECT_EQ(CloseHandle(reinterpret_cast<HANDLE>(INT_PTR{1})), TRUE);
  EXPECT_EQ(look_at(current_process()), 258u);
}

TEST(Handle, LeavesNoDescriptorAndNoFileBehind) {
  CloseHandle(make_event(true, false, "rounds"));
  const std::set<std::string> before = open_descriptors();
  int failed = 0;
  for (int i = 0; i < 2000; ++i) {
    const HANDLE named = make_event(i % 2 == 0, false, "rounds");
    const HANDLE again = open_event("rounds");
    const HANDLE unnamed = make_event(i % 2 != 0, true);
    SetEvent(again);
    const HANDLE both[] = {named, unnamed};
    if (WaitForMultipleObjects(2, both, TRUE, INFINITE) != 0) ++failed;
    for (HANDLE event : {again, unnamed, named}) failed += CloseHandle(event) == TRUE ? 0 : 1;
  }
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_EQ(event_files(), std::set<std::string>{".lock"});
}

TEST(Handle, IsUsedByManyThreadsWhileOthersAreMadeAndClosed) {
  std::vector<std::thread> threads;
  std::atomic<int> failed{0};
  const HANDLE shared = make_event(true, true);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      const std::string name = "thread " + std::to_string(i % 2);
      for (int step = 0; step < 300; ++step) {
        const HANDLE event = make_event(true, false, step % 3 == 0 ? nullptr : name.c_str());
        if (event == nullptr || SetEvent(event) != TRUE || look_at(event) != 0) ++failed;
        if (look_at(shared) != 0 || CloseHandle(event) != TRUE) ++failed;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failed, 0);
  CloseHandle(shared);
}

TEST(Handle, IsNotInheritedByProgramsThatAreStarted) {
  const std::set<std::string> before = open_descriptors();
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  const HANDLE events[] = {CreateEventA(&inherit, TRUE, FALSE, nullptr), CreateEventA(&inherit, TRUE, FALSE, "inherit"),
                           OpenProcess(SYNCHRONIZE, TRUE, static_cast<DWORD>(getpid()))};
  int counted = 0;
  for (const std::string& number : open_descriptors()) {
    if (before.count(number) != 0) continue;
    ++counted;
    EXPECT_EQ(fcntl(std::stoi(number), F_GETFD), FD_CLOEXEC) << number;
  }
  EXPECT_EQ(counted, 3);
  for (HANDLE event : events) EXPECT_EQ(CloseHandle(event), TRUE);
}

TEST(Handle, NeverTakesAStandardDescriptor) {
  const auto child = run_child([] {
    for (int fd : {0, 1, 2}) close(fd);
    const HANDLE events[] = {make_event(true, false), make_event(true, false, "standard"),
                             OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(getpid()))};
    for (int fd : {0, 1, 2}) {
      if (fcntl(fd, F_GETFD) != -1) _exit(1);
    }
    for (HANDLE event : events) {
      if (CloseHandle(event) != TRUE) _exit(2);
    }
  });
  EXPECT_EQ(child.exit_status, 0);
}

// A daemon that closes every descriptor and opens files of its own, which get the same numbers.
TEST(Handle, WhoseDescriptorTheProgramHasClosedIsRefusedAndTouchesNoFileOfItsOwn) {
  const Temp_Folder folder;
  const auto child = run_child([&] {
    const HANDLE events[] = {make_event(true, true), make_event(false, true, "daemon"),
                             OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(getpid()))};
    for (int fd = 3; fd < 256; ++fd) close(fd);
    int own_events[8];
    for (int& own : own_events) own = eventfd(0, EFD_NONBLOCK);
    std::vector<int> own_files;
    for (int i = 0; i < 16; ++i) own_files.push_back(open((folder / "own").c_str(), O_RDWR | O_CREAT, 0600));
    for (HANDLE event : events) {
      if (look_at(event) != WAIT_FAILED || GetLastError() != 6) _exit(1);
      if (SetEvent(event) != FALSE || GetLastError() != 6) _exit(2);
      if (CloseHandle(event) != TRUE) _exit(3);
    }
    for (int own : own_events) {
      uint64_t count = 0;
      if (read(own, &count, sizeof count) != -1 || errno != EAGAIN) _exit(4);
    }
    for (int own : own_files) {
      if (fcntl(own, F_GETFD) == -1) _exit(5);
    }
    const HANDLE fresh = make_event(true, true, "daemon");
    if (look_at(fresh) != 0 || CloseHandle(fresh) != TRUE) _exit(6);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(std::filesystem::file_size(folder / "own"), 0u);
  EXPECT_EQ(open_event("daemon"), nullptr);
}

TEST(Handle, WhoseDescriptorTheProgramHasClosedIsNotTakenForTheNextOneOfItsNumber) {
  const auto child = run_child([] {
    const HANDLE old_events[] = {make_event(true, true), make_event(true, true, "number")};
    for (int fd = 3; fd < 256; ++fd) close(fd);
    const HANDLE new_events[] = {make_event(true, false), make_event(true, false, "number")};
    for (HANDLE event : old_events) {
      if (SetEvent(event) != FALSE || look_at(event) != WAIT_FAILED || CloseHandle(event) != TRUE) _exit(1);
    }
    for (HANDLE event : new_events) {
      if (look_at(event) != WAIT_TIMEOUT || SetEvent(event) != TRUE || look_at(event) != 0) _exit(2);
    }
    const HANDLE found = open_event("number");
    for (HANDLE event : {found, new_events[0], new_events[1]}) {
      if (CloseHandle(event) != TRUE) _exit(3);
    }
  });
  EXPECT_EQ(child.exit_status, 0);
}

}  // namespace
