// A C++17 program as it was written for the published interface, with its header before and behind others.
#include <windows.h>

#include <pthread.h>
#include <sqlite3.h>
#include <sys/socket.h>

#include <algorithm>
#include <iostream>
#include <limits>
#include <string>

namespace {

constexpr DWORD at_least(DWORD size) { return std::max(size, std::numeric_limits<DWORD>::min()); }

struct Setting {
  HKEY key = static_cast<HKEY>(INVALID_HANDLE_VALUE);
  ~Setting() {
    if (key != INVALID_HANDLE_VALUE) RegCloseKey(key);
  }
};

}  // namespace

int main() {
  Setting setting;
  if (RegCreateKey(HKEY_CURRENT_USER, TEXT("Software\\Cpp"), &setting.key) != ERROR_SUCCESS) return 1;
  DWORD number = at_least(17), size = sizeof number;
  if (RegSetValueEx(setting.key, TEXT("n"), 0, REG_DWORD, (BYTE*)&number, size) != ERROR_SUCCESS) return 2;
  number = 0;
  if (RegQueryValueEx(setting.key, TEXT("n"), 0, 0, (LPBYTE)&number, &size) != ERROR_SUCCESS) return 3;
  std::cout << number << "\n";
}
