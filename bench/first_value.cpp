// The child of startup_bench: starts the library, reads one value, and prints how many nanoseconds that took.

#include <kelvane/advapi32.h>

#include <cstdio>
#include <ctime>

static long long now() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1000000000LL + time.tv_nsec;
}

int main() {
  const long long before = now();
  init_advapi32();
  HKEY key = nullptr;
  DWORD value = 0;
  DWORD size = sizeof value;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Bench\\Key 31415", 0, KEY_READ, &key) != ERROR_SUCCESS) return 1;
  if (RegQueryValueExA(key, "Value", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size) != ERROR_SUCCESS)
    return 1;
  const long long after = now();
  return value == 31415 && std::printf("%lld\n", after - before) > 0 ? 0 : 1;
}
