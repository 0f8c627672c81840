// Who and when: this process and thread, the time since the machine's start, and a pause.
#include <errno.h>
#include <sched.h>
#include <time.h>
#include <unistd.h>
#include <winbase.h>

HANDLE WINAPI GetCurrentProcess(void) { return reinterpret_cast<HANDLE>(LONG_PTR{-1}); }

HANDLE WINAPI GetCurrentThread(void) { return reinterpret_cast<HANDLE>(LONG_PTR{-2}); }

DWORD WINAPI GetCurrentProcessId(void) { return static_cast<DWORD>(getpid()); }

DWORD WINAPI GetCurrentThreadId(void) { return static_cast<DWORD>(gettid()); }

ULONGLONG WINAPI GetTickCount64(void) {
  timespec since_start{};
  clock_gettime(CLOCK_BOOTTIME, &since_start);
  constexpr ULONGLONG milliseconds = 1000;
  constexpr ULONGLONG nanoseconds_each = 1000000;
  return static_cast<ULONGLONG>(since_start.tv_sec) * milliseconds +
         static_cast<ULONGLONG>(since_start.tv_nsec) / nanoseconds_each;
}

DWORD WINAPI GetTickCount(void) { return static_cast<DWORD>(GetTickCount64()); }

void WINAPI Sleep(DWORD milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  if (milliseconds == INFINITE) {
    for (;;) pause();
  }
  timespec left{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}
