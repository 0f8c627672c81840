// Opens the key of the README's program, tells its count and waits for a line; then raises the count through the handle
// that it has had open all the time.
#include <stdio.h>
#include <windows.h>

int main() {
  HKEY key;
  DWORD runs = 0, size = sizeof(runs);
  if (RegOpenKeyEx(HKEY_CURRENT_USER, "Software\\Example\\Counter", 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS) return 1;
  RegQueryValueEx(key, "Runs", NULL, NULL, (BYTE*)&runs, &size);
  printf("holding at %u\n", runs);
  fflush(stdout);

  char line[16];
  if (fgets(line, sizeof(line), stdin) == NULL) return 1;
  RegQueryValueEx(key, "Runs", NULL, NULL, (BYTE*)&runs, &size);
  runs++;
  if (RegSetValueEx(key, "Runs", 0, REG_DWORD, (const BYTE*)&runs, sizeof(runs)) != ERROR_SUCCESS) return 1;
  printf("wrote %u\n", runs);
  RegCloseKey(key);
  return 0;
}
