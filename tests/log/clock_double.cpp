// The local time of every record: the test program defines GetLocalTime itself.
#include <windows.h>

extern "C" KV_EXPORT void WINAPI GetLocalTime(LPSYSTEMTIME time) {
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
