// The child of startup_bench.
//   first_value make N    makes N keys with a value each
//   first_value read N    starts the library, reads the value of a key in the middle of N, and prints how many
//                         nanoseconds that took
#include <kelvane/advapi32.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

constexpr char parent_path[] = "Software\\Bench";

std::string name_of(DWORD i) { return "Key " + std::to_string(i); }

long long now() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1000000000LL + time.tv_nsec;
}

bool make_key(HKEY parent, DWORD i) {
  HKEY key = nullptr;
  if (RegCreateKeyExA(parent, name_of(i).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != 0)
    return false;
  const bool good = RegSetValueExA(key, "Value", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&i), sizeof i) == 0;
  return RegCloseKey(key) == 0 && good;
}

bool make_keys(DWORD count) {
  init_advapi32();
  HKEY parent = nullptr;
  if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, parent_path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &parent, nullptr) != 0)
    return false;
  for (DWORD i = 0; i < count; ++i) {
    if (!make_key(parent, i)) return false;
  }
  return RegFlushKey(parent) == 0;
}

bool read_value(DWORD i) {
  const std::string path = std::string(parent_path) + "\\" + name_of(i);
  const long long before = now();
  init_advapi32();
  HKEY key = nullptr;
  DWORD value = 0;
  DWORD size = sizeof value;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  if (RegQueryValueExA(key, "Value", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size) != 0) return false;
  const long long after = now();
  return value == i && std::printf("%lld\n", after - before) > 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const DWORD count = static_cast<DWORD>(std::strtoul(argv[2], nullptr, 10));
  return (std::strcmp(argv[1], "make") == 0 ? make_keys(count) : read_value(count / 2)) ? 0 : 1;
}
