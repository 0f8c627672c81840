// Who this process is, its user's name, and time.
#include <gtest/gtest.h>
#include <kelvane/impersonation.h>
#include <pwd.h>
#include <sys/resource.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>

#include <string>
#include <thread>

#include "tests/support/child.h"

namespace {

std::string own_name() {
  const passwd* entry = getpwuid(geteuid());
  return entry != nullptr ? entry->pw_name : "";
}

TEST(Identity, OfProcessAndThreadAreThePublishedValues) {
  EXPECT_EQ(reinterpret_cast<intptr_t>(GetCurrentProcess()), -1);
  EXPECT_EQ(reinterpret_cast<intptr_t>(GetCurrentThread()), -2);
}

TEST(Identity, NumbersAreTheSystems) {
  EXPECT_EQ(GetCurrentProcessId(), static_cast<DWORD>(getpid()));
  EXPECT_EQ(GetCurrentThreadId(), static_cast<DWORD>(gettid()));
  DWORD other = 0;
  std::thread([&] { other = GetCurrentThreadId(); }).join();
  EXPECT_NE(other, GetCurrentThreadId());
  const auto child = kvtest::run_child([] { _exit(GetCurrentProcessId() == static_cast<DWORD>(getpid()) ? 0 : 1); });
  EXPECT_EQ(child.exit_status, 0);
}

TEST(UserName, IsTheEffectiveUsersAndItsLengthCountsTheTerminator) {
  const std::string name = own_name();
  if (name.empty()) GTEST_SKIP() << "this test's user has no name";
  char out[257] = "";
  DWORD size = sizeof out;
  EXPECT_EQ(GetUserNameA(out, &size), TRUE);
  EXPECT_EQ(out, name);
  EXPECT_EQ(size, name.size() + 1);
  wchar_t wide[257] = L"";
  size = 257;
  EXPECT_EQ(GetUserNameW(wide, &size), TRUE);
  EXPECT_EQ(std::wstring(wide), std::wstring(name.begin(), name.end()));
  EXPECT_EQ(size, name.size() + 1);
}

TEST(UserName, IsTheImpersonatedUsers) {
  std::string name;
  std::thread([&] {
    KvTTSetUid(0 + 1);
    char out[257] = "";
    DWORD size = sizeof out;
    GetUserNameA(out, &size);
    name = out;
  }).join();
  EXPECT_EQ(name, "root");
}

TEST(UserName, TellsTheSizeNeeded) {
  const std::string name = own_name();
  if (name.empty()) GTEST_SKIP() << "this test's user has no name";
  std::string out(name.size(), '#');
  auto size = static_cast<DWORD>(name.size());
  SetLastError(0);
  EXPECT_EQ(GetUserNameA(out.data(), &size), FALSE);
  EXPECT_EQ(GetLastError(), 122u);
  EXPECT_EQ(size, name.size() + 1);
  EXPECT_EQ(out, std::string(name.size(), '#'));
  size = 0;
  EXPECT_EQ(GetUserNameW(nullptr, &size), FALSE);
  EXPECT_EQ(size, name.size() + 1);
  SetLastError(0);
  EXPECT_EQ(GetUserNameA(out.data(), nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 87u);
}

TEST(TickCount, GrowsAndItsShortFormIsTheLowHalf) {
  const ULONGLONG before = GetTickCount64();
  const DWORD between = GetTickCount();
  const ULONGLONG after = GetTickCount64();
  EXPECT_GT(before, 0u);
  EXPECT_LE(between - static_cast<DWORD>(before), static_cast<DWORD>(after) - static_cast<DWORD>(before));
}

TEST(Sleep, LastsAtLeastThatLong) {
  const ULONGLONG before = GetTickCount64();
  Sleep(15);
  EXPECT_GE(GetTickCount64() - before, 14u);
}

TEST(Sleep, OfZeroReturns) { Sleep(0); }

}  // namespace
