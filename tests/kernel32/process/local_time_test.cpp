// The local time, in time zones of the test's own.
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <winbase.h>

#include <cstring>
#include <string>

#include "tests/support/child.h"

namespace {

// Seconds since 1970 of the fields, taken as they stand.
time_t seconds_of(const SYSTEMTIME& time) {
  tm fields{};
  fields.tm_year = time.wYear - 1900;
  fields.tm_mon = time.wMonth - 1;
  fields.tm_mday = time.wDay;
  fields.tm_hour = time.wHour;
  fields.tm_min = time.wMinute;
  fields.tm_sec = time.wSecond;
  return timegm(&fields);
}

// Asks in a child with this time zone and says whether the answer lies east of UTC by so many seconds.
std::string is_east_of_utc(const char* zone, int east) {
  return kvtest::run_child([&] {
           setenv("TZ", zone, 1);
           SYSTEMTIME local;
           const time_t before = time(nullptr);
           GetLocalTime(&local);
           timespec after;
           clock_gettime(CLOCK_REALTIME, &after);
           const time_t utc = seconds_of(local) - east;
           printf("%s", utc >= before && utc <= after.tv_sec ? "yes" : "no");
         })
      .out;
}

}  // namespace

TEST(GetLocalTime, TellsTheTimeOfTheTimeZone) {
  EXPECT_EQ(is_east_of_utc("UTC0", 0), "yes");
  EXPECT_EQ(is_east_of_utc("IST-5:30", 19800), "yes");
  EXPECT_EQ(is_east_of_utc("XST9", -32400), "yes");
}

TEST(GetLocalTime, FillsEveryField) {
  SYSTEMTIME local;
  memset(&local, 0xFF, sizeof local);
  GetLocalTime(&local);
  EXPECT_GE(local.wYear, 2024);
  EXPECT_LE(local.wYear, 9999);
  EXPECT_GE(local.wMonth, 1);
  EXPECT_LE(local.wMonth, 12);
  EXPECT_LE(local.wSecond, 60);
  EXPECT_LE(local.wMilliseconds, 999);
}

TEST(GetLocalTime, CountsTheDaysOfTheWeekFromSunday) {
  SYSTEMTIME local;
  GetLocalTime(&local);
  // 1 January 1970 was a Thursday.
  EXPECT_EQ(local.wDayOfWeek, (seconds_of(local) / 86400 + 4) % 7);
}
