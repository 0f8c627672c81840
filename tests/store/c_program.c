/*
 * A small C program as it was written for the published interface: root handles in static initialisers, a
 * handle compared with INVALID_HANDLE_VALUE, char* for bytes. Headers of others stand before and behind.
 */
#include <pthread.h>
#include <stdio.h>
#include <sys/socket.h>
#include <windows.h>

#include <dlfcn.h>
#include <sqlite3.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static HKEY current = INVALID_HANDLE_VALUE;
static const struct {
  HKEY root;
  const char* name;
} roots[] = {{HKEY_CURRENT_USER, "user"}, {HKEY_LOCAL_MACHINE, "machine"}};

int main(void) {
  for (size_t i = 0; i < sizeof roots / sizeof roots[0]; ++i) {
    char text[16];
    DWORD type, size = sizeof text;
    if (RegCreateKeyEx(roots[i].root, "Software\\C", 0, NULL, 0, KEY_ALL_ACCESS, NULL, &current, NULL)) return 1;
    if (current == INVALID_HANDLE_VALUE) return 2;
    if (RegSetValueEx(current, "name", 0, REG_SZ, roots[i].name, strlen(roots[i].name) + 1)) return 3;
    if (RegQueryValueEx(current, "name", NULL, &type, text, &size) != ERROR_SUCCESS) return 4;
    if (RegCloseKey(current) != ERROR_SUCCESS) return 5;
    printf("%s %u %u\n", text, type, size);
    current = INVALID_HANDLE_VALUE;
  }
  return 0;
}
