// The last error.
#include <gtest/gtest.h>
#include <winbase.h>

#include <thread>

TEST(LastError, IsWhatWasSetLast) {
  SetLastError(5);
  SetLastError(0xFFFFFFFF);
  EXPECT_EQ(GetLastError(), 0xFFFFFFFFu);
  EXPECT_EQ(GetLastError(), 0xFFFFFFFFu);
}

TEST(LastError, IsEachThreadsOwnAndZeroInANewOne) {
  SetLastError(87);
  DWORD at_start = 1;
  std::thread([&at_start] {
    at_start = GetLastError();
    SetLastError(6);
  }).join();
  EXPECT_EQ(at_start, 0u);
  EXPECT_EQ(GetLastError(), 87u);
}
