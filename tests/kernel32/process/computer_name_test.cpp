// The computer's name, in a host of the test's own where the system lets us make one.
#include <gtest/gtest.h>
#include <sched.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>

#include <functional>
#include <string>

#include "tests/support/child.h"

namespace {

constexpr int no_host_of_our_own = 77;

// Runs the body in a child whose host has this name.
kvtest::Child_Result on_host(const std::string& name, const std::function<void()>& body) {
  return kvtest::run_child([&] {
    const bool apart = unshare(CLONE_NEWUTS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWUTS) == 0;
    if (!apart || sethostname(name.data(), name.size()) != 0) _exit(no_host_of_our_own);
    body();
  });
}

void print_name(DWORD size) {
  char name[128];
  memset(name, '#', sizeof name);
  SetLastError(12345);
  const BOOL result = GetComputerNameA(name, &size);
  printf("%d %u %u %.*s", result, size, GetLastError(), static_cast<int>(strnlen(name, 70)), name);
}

constexpr char reason[] = "this system lets nobody make a host name of his own";

}  // namespace

TEST(GetComputerNameA, GivesTheWholeHostNameAndItsLength) {
  const auto child = on_host("kelvane-test-host.example.org", [] { print_name(30); });
  if (child.exit_status == no_host_of_our_own) GTEST_SKIP() << reason;
  EXPECT_EQ(child.out, "1 29 12345 kelvane-test-host.example.org");
}

TEST(GetComputerNameA, GivesTheLongestHostName) {
  const std::string longest(64, 'h');
  const auto child = on_host(longest, [] { print_name(65); });
  if (child.exit_status == no_host_of_our_own) GTEST_SKIP() << reason;
  EXPECT_EQ(child.out, "1 64 12345 " + longest);
}

TEST(GetComputerNameA, TellsTheRoomNeededAndWritesNothingWhereItDoesNotFit) {
  const auto child = on_host("host", [] {
    print_name(4);
    DWORD size = 0;
    printf(" %d", GetComputerNameA(nullptr, &size));
    printf(" %u", size);
  });
  if (child.exit_status == no_host_of_our_own) GTEST_SKIP() << reason;
  EXPECT_EQ(child.out, "0 5 111 " + std::string(70, '#') + " 0 5");
}

TEST(GetComputerNameA, RefusesANullSize) {
  char name[16];
  EXPECT_FALSE(GetComputerNameA(name, nullptr));
  EXPECT_EQ(GetLastError(), 87u);
}
