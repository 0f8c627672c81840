// Two calls for a tracer to see: one that is refused by the store, one that the front itself refuses.
#include <windows.h>

int main() {
  HKEY key = nullptr;
  const LSTATUS missing = RegOpenKeyExA(HKEY_CURRENT_USER, "No such key", 0, KEY_READ, &key);
  const LSTATUS unchecked = RegEnumKeyW(HKEY_PERFORMANCE_DATA, 0, nullptr, 0);
  return missing == ERROR_FILE_NOT_FOUND && unchecked == ERROR_INVALID_HANDLE ? 0 : 1;
}
