// A ported program that writes numbered values to Software\Killed of a root for ever, and reports each on
// standard output as four bytes once the call has answered 0. Arguments: HKLM or HKCU, and the first number.
#include <windows.h>

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

int main(int, char** argv) {
  HKEY key = nullptr;
  HKEY root = strcmp(argv[1], "HKCU") == 0 ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
  if (RegCreateKeyEx(root, "Software\\Killed", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr)) {
    return 1;
  }
  for (DWORD number = static_cast<DWORD>(atoi(argv[2]));; ++number) {
    std::string name = "n" + std::to_string(number);
    std::string data(1 + number % 3000, static_cast<char>('a' + number % 26));
    if (RegSetValueEx(key, name.c_str(), 0, REG_BINARY, reinterpret_cast<const BYTE*>(data.data()),
                      static_cast<DWORD>(data.size())) != ERROR_SUCCESS) {
      return 2;
    }
    if (write(STDOUT_FILENO, &number, sizeof number) != sizeof number) return 3;
  }
}
