// What tracers see of fronts: the clock is asked only while somebody looks.
#include "registry/front_trace.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <time.h>

#include <stdexcept>

namespace {

int clock_reads;

HKEY some_key() { return HKEY_LOCAL_MACHINE; }

// As a tracer does it.
class Looking {
 public:
  Looking() { ++kelvane_front__entry_semaphore; }
  ~Looking() { --kelvane_front__entry_semaphore; }
};

LSTATUS front_that_answers(LSTATUS code) {
  return traced(some_key(), [&]() -> LSTATUS { return code; });
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
  ++clock_reads;
  static const auto real = reinterpret_cast<int (*)(clockid_t, timespec*)>(dlsym(RTLD_NEXT, "clock_gettime"));
  return real(clock, time);
}

TEST(FrontTrace, AsksNoClockWhileNobodyLooks) {
  clock_reads = 0;
  EXPECT_EQ(front_that_answers(234), 234);
  EXPECT_EQ(clock_reads, 0);
}

TEST(FrontTrace, AsksTheClockTwiceWhileSomebodyLooks) {
  const Looking looking;
  clock_reads = 0;
  EXPECT_EQ(front_that_answers(234), 234);
  EXPECT_EQ(clock_reads, 2);
}

TEST(FrontTrace, ACallThatATracerCameUponTellsNoReturn) {
  clock_reads = 0;
  const LSTATUS result = traced(some_key(), [&]() -> LSTATUS {
    ++kelvane_front__entry_semaphore;
    return 6;
  });
  --kelvane_front__entry_semaphore;
  EXPECT_EQ(result, 6);
  EXPECT_EQ(clock_reads, 0);
}

TEST(FrontTrace, AnExceptionPassesWithoutAReturnToTell) {
  const Looking looking;
  clock_reads = 0;
  const auto fail = []() -> LSTATUS { throw std::runtime_error("passing"); };
  EXPECT_THROW(traced(some_key(), fail), std::runtime_error);
  EXPECT_EQ(clock_reads, 1);
}
