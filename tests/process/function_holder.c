/* Holds a key between a constructor function and a destructor function. */
#include <windows.h>

static HKEY key;

__attribute__((constructor)) static void open_key(void) {
  RegCreateKeyA(HKEY_CURRENT_USER, KVTEST_HOLDER "-function", &key);
}

__attribute__((destructor)) static void close_key(void) {
  if (key != NULL) RegCloseKey(key);
}
