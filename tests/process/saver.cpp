// A ported program over the real store: "set V E" writes the user's value Text and ends by E, "get" prints it.
#include <kelvane/process.h>
#include <unistd.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

constexpr int status = 5;

int set(const char* text) {
  HKEY key = nullptr;
  if (RegCreateKeyA(HKEY_CURRENT_USER, "Software\\Saver", &key) != ERROR_SUCCESS) return 1;
  const auto* data = reinterpret_cast<const BYTE*>(text);
  const LSTATUS result = RegSetValueExA(key, "Text", 0, REG_SZ, data, static_cast<DWORD>(strlen(text) + 1));
  RegCloseKey(key);
  return result == ERROR_SUCCESS ? status : 2;
}

int get() {
  HKEY key = nullptr;
  if (RegOpenKeyA(HKEY_CURRENT_USER, "Software\\Saver", &key) != ERROR_SUCCESS) return 3;
  char text[64];
  DWORD size = sizeof text;
  if (RegQueryValueExA(key, "Text", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS) return 4;
  printf("%s\n", text);
  RegCloseKey(key);
  return status;
}

}  // namespace

int main(int count, char** argv) {
  const int result = count == 4 ? set(argv[2]) : get();
  const char* how = count == 4 ? argv[3] : "return";
  if (strcmp(how, "exit") == 0) exit(result);
  if (strcmp(how, "KvExit") == 0) KvExit(result);
  if (strcmp(how, "thread") == 0) std::thread([result] { exit(result); }).join();
  if (strcmp(how, "quick_exit") == 0) quick_exit(result);
  if (strcmp(how, "_exit") == 0) _exit(result);
  return result;
}
