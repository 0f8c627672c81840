// The local time of every record: the test program defines GetLocalTime itself.
#include <windows.h>

#include "tests/log/log_test.h"

std::atomic<int>& kvtest::clock_reads() {
  static std::atomic<int> reads = 0;
  return reads;
}

extern "C" KV_EXPORT void WINAPI GetLocalTime(LPSYSTEMTIME time) {
  ++kvtest::clock_reads();
  *time = {};
  time->wYear = 2031;
  time->wMonth = 4;
  time->wDayOfWeek = 6;
  time->wDay = 25;
  time->wHour = 7;
  time->wMinute = 8;
  time->wSecond = 9;
  time->wMilliseconds = 999;
}
