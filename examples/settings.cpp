// Keeps a program's settings in the registry: window position, recent files, a licence blob and a counter of
// runs. The first run writes them, every later run reads back what the one before it left.

#include <windows.h>

#include <stdio.h>
#include <string.h>

static const char kSettings[] = "Software\\Example Corporation\\Settings Demo";

static void PrintError(const char* action, LONG error) {
  fprintf(stderr, "%s failed: error %ld\n", action, (long)error);
}

static BOOL WriteDword(HKEY key, const char* name, DWORD value) {
  LONG error = RegSetValueEx(key, name, 0, REG_DWORD, (const BYTE*)&value, sizeof(value));
  if (error != ERROR_SUCCESS) PrintError(name, error);
  return error == ERROR_SUCCESS;
}

static DWORD ReadDword(HKEY key, const char* name, DWORD fallback) {
  DWORD value = 0, type = 0, size = sizeof(value);
  LONG error = RegQueryValueEx(key, name, NULL, &type, (BYTE*)&value, &size);
  return error == ERROR_SUCCESS && type == REG_DWORD ? value : fallback;
}

static void WriteDefaults(HKEY key) {
  static const char title[] = "Settings d\xc3\xa9mo";
  static const char recent[] = "C:\\Work\\report.txt\0C:\\Work\\plan.txt\0";
  static const BYTE licence[] = {0xde, 0xad, 0xbe, 0xef, 0x00, 0x01};
  HKEY window = NULL;

  RegSetValueEx(key, "Title", 0, REG_SZ, (const BYTE*)title, sizeof(title));
  RegSetValueEx(key, "RecentFiles", 0, REG_MULTI_SZ, (const BYTE*)recent, sizeof(recent));
  RegSetValueEx(key, "Licence", 0, REG_BINARY, licence, sizeof(licence));

  LONG error = RegCreateKeyEx(key, "Window", 0, NULL, REG_OPTION_NON_VOLATILE, KEY_WRITE, NULL, &window, NULL);
  if (error != ERROR_SUCCESS) {
    PrintError("RegCreateKeyEx(Window)", error);
    return;
  }
  WriteDword(window, "Left", 120);
  WriteDword(window, "Top", 80);
  WriteDword(window, "Width", 1024);
  WriteDword(window, "Height", 768);
  RegCloseKey(window);
}

static void PrintRecentFiles(HKEY key) {
  char files[1024];
  DWORD type = 0, size = sizeof(files);
  if (RegQueryValueEx(key, "RecentFiles", NULL, &type, (BYTE*)files, &size) != ERROR_SUCCESS) return;
  if (type != REG_MULTI_SZ) return;
  for (const char* file = files; *file != '\0'; file += strlen(file) + 1) printf("  recent file  %s\n", file);
}

static void PrintValues(HKEY key) {
  for (DWORD index = 0;; index++) {
    char name[256];
    BYTE data[1024];
    DWORD name_size = sizeof(name), type = 0, size = sizeof(data);
    LONG error = RegEnumValue(key, index, name, &name_size, NULL, &type, data, &size);
    if (error == ERROR_NO_MORE_ITEMS) break;
    if (error != ERROR_SUCCESS) {
      PrintError("RegEnumValue", error);
      break;
    }
    if (type == REG_DWORD) {
      DWORD value;
      memcpy(&value, data, sizeof(value));
      printf("  %-12s %u\n", name, value);
    } else if (type == REG_SZ) {
      printf("  %-12s %s\n", name, (const char*)data);
    } else {
      printf("  %-12s %u bytes of type %u\n", name, size, type);
    }
  }
}

int main(void) {
  HKEY key = NULL, window = NULL;
  DWORD disposition = 0;
  LONG error = RegCreateKeyEx(HKEY_CURRENT_USER, kSettings, 0, NULL, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, NULL,
                              &key, &disposition);
  if (error != ERROR_SUCCESS) {
    PrintError("RegCreateKeyEx", error);
    return 1;
  }
  if (disposition == REG_CREATED_NEW_KEY) WriteDefaults(key);

  DWORD runs = ReadDword(key, "Runs", 0) + 1;
  if (!WriteDword(key, "Runs", runs)) return 1;

  printf("Run %u, settings of HKEY_CURRENT_USER\\%s:\n", runs, kSettings);
  PrintValues(key);
  PrintRecentFiles(key);
  error = RegOpenKeyEx(key, "Window", 0, KEY_READ, &window);
  if (error == ERROR_SUCCESS) {
    printf("Window:\n");
    PrintValues(window);
    RegCloseKey(window);
  }
  RegCloseKey(key);
  return 0;
}
