// The local date and time in the fields of a SYSTEMTIME.
#include <time.h>
#include <winbase.h>

namespace {

constexpr long nanoseconds_per_millisecond = 1000000;

WORD word(int field) { return static_cast<WORD>(field); }

}  // namespace

static_assert(sizeof(SYSTEMTIME) == 16);

void GetLocalTime(LPSYSTEMTIME time) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  *time = {word(local.tm_year + 1900), word(local.tm_mon + 1),
           word(local.tm_wday),        word(local.tm_mday),
           word(local.tm_hour),        word(local.tm_min),
           word(local.tm_sec),         static_cast<WORD>(now.tv_nsec / nanoseconds_per_millisecond)};
}
