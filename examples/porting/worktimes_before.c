/* WORKTIMES - keeps how long you have worked on what.
 *
 *   worktimes add TASK MINUTES    adds to a task
 *   worktimes list                all tasks with their minutes
 *   worktimes recent              the tasks of the last additions, newest first
 *   worktimes forget TASK         removes a task
 *   worktimes place L T W H       remembers where the window is
 *   worktimes place               tells it
 *   worktimes save FILE           saves everything to a file
 *   worktimes restore FILE        takes everything back from there
 */
#define UNICODE
#define _UNICODE
#include <Windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#define ROOT L"Software\\Example Corporation\\Work Times"
#define MAXTASK 64
#define MAXRECENT 512

typedef struct {
  long left, top, width, height;
} PLACE;

static DWORD root; /* the open key */

static void Fail(const char* what, LONG code) {
  WCHAR text[256];
  text[0] = 0;
  FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM, NULL, code, 0, text, sizeof(text) / 2, NULL);
  fprintf(stderr, "%s: error %ld\n", what, code);
  exit(1);
}

static void Check(const char* what, LONG code) {
  if (code != ERROR_SUCCESS) Fail(what, code);
}

static void SetText(HKEY key, LPCWSTR name, LPCWSTR text) {
  Check("set", RegSetValueExW(key, name, 0, REG_SZ, (const BYTE*)text, (wcslen(text) + 1) * 2));
}

/* Text is a fixed array; cleared when there is no value. */
static void GetText(HKEY key, LPCWSTR name, WCHAR* text, DWORD chars) {
  DWORD type, size = chars * 2;
  if (RegQueryValueExW(key, name, NULL, &type, (BYTE*)text, &size) != ERROR_SUCCESS || type != REG_SZ) size = 0;
  text[size / 2] = 0;
}

static DWORD GetNumber(HKEY key, LPCWSTR name) {
  DWORD value = 0, size = sizeof(value);
  RegQueryValueExW(key, name, NULL, NULL, (BYTE*)&value, &size);
  return value;
}

/* The list of recent tasks begins with the newest. */
static void Remember(LPCWSTR task) {
  static WCHAR list[MAXRECENT], old[MAXRECENT];
  DWORD size = sizeof(old) - 4;
  WCHAR *from, *to = list;
  if (RegQueryValueExW((HKEY)root, L"Recent", NULL, NULL, (BYTE*)old, &size) != ERROR_SUCCESS) size = 0;
  wcscpy(to, task);
  to += wcslen(to) + 1;
  for (from = old; from < old + size / 2 && *from; from += wcslen(from) + 1) {
    if (wcscmp(from, task) == 0 || to - list + wcslen(from) + 2 > MAXRECENT) continue;
    wcscpy(to, from);
    to += wcslen(to) + 1;
  }
  *to++ = 0;
  Check("remember", RegSetValueExW((HKEY)root, L"Recent", 0, REG_MULTI_SZ, (BYTE*)list, (to - list) * 2));
  SetText((HKEY)root, L"Last", task);
}

static void Add(LPCWSTR task, DWORD minutes) {
  HKEY key;
  DWORD total;
  Check("create", RegCreateKeyExW((HKEY)root, task, 0, NULL, 0, KEY_ALL_ACCESS, NULL, &key, NULL));
  total = GetNumber(key, L"Minutes") + minutes;
  Check("add", RegSetValueExW(key, L"Minutes", 0, REG_DWORD, (BYTE*)&total, sizeof(total)));
  RegCloseKey(key);
  Remember(task);
}

static void List(void) {
  WCHAR name[MAXTASK], last[MAXTASK + 1];
  DWORD index, size;
  HKEY key;
  for (index = 0;
       size = sizeof(name) / 2, RegEnumKeyExW((HKEY)root, index, name, &size, NULL, NULL, NULL, NULL) == ERROR_SUCCESS;
       index++) {
    Check("open", RegOpenKeyExW((HKEY)root, name, 0, KEY_READ, &key));
    wprintf(L"%6lu %s\n", GetNumber(key, L"Minutes"), name);
    RegCloseKey(key);
  }
  GetText((HKEY)root, L"Last", last, MAXTASK);
  if (last[0]) wprintf(L"last: %s\n", last);
}

static void Recent(void) {
  static WCHAR list[MAXRECENT];
  DWORD size = sizeof(list);
  WCHAR* task;
  Check("recent", RegQueryValueExW((HKEY)root, L"Recent", NULL, NULL, (BYTE*)list, &size));
  for (task = list; task < list + size / 2 && *task; task += wcslen(task) + 1) wprintf(L"%s\n", task);
}

static void SetPlace(char** numbers) {
  PLACE place;
  place.left = atol(numbers[0]);
  place.top = atol(numbers[1]);
  place.width = atol(numbers[2]);
  place.height = atol(numbers[3]);
  Check("place", RegSetValueExW((HKEY)root, L"Place", 0, REG_BINARY, (BYTE*)&place, sizeof(place)));
}

static void ShowPlace(void) {
  PLACE place;
  DWORD size = sizeof(place);
  Check("place", RegQueryValueExW((HKEY)root, L"Place", NULL, NULL, (BYTE*)&place, &size));
  if (size != 16) Fail("place has another size", size);
  printf("%ld,%ld %ldx%ld\n", place.left, place.top, place.width, place.height);
}

int main(int argc, char** argv) {
  HKEY key;
  WCHAR text[MAX_PATH];
  Check("open", RegCreateKeyExW(HKEY_CURRENT_USER, ROOT, 0, NULL, 0, KEY_ALL_ACCESS, NULL, &key, NULL));
  root = (DWORD)(DWORD_PTR)key;
  text[0] = 0;
  if (argc > 2) MultiByteToWideChar(CP_ACP, 0, argv[2], -1, text, sizeof(text) / 2);

  if (argc == 4 && strcmp(argv[1], "add") == 0)
    Add(text, atol(argv[3]));
  else if (argc == 2 && strcmp(argv[1], "list") == 0)
    List();
  else if (argc == 2 && strcmp(argv[1], "recent") == 0)
    Recent();
  else if (argc == 3 && strcmp(argv[1], "forget") == 0)
    Check("forget", RegDeleteKeyW((HKEY)root, text));
  else if (argc == 6 && strcmp(argv[1], "place") == 0)
    SetPlace(argv + 2);
  else if (argc == 2 && strcmp(argv[1], "place") == 0)
    ShowPlace();
  else if (argc == 3 && strcmp(argv[1], "save") == 0)
    Check("save", RegSaveKeyW((HKEY)root, text, NULL));
  else if (argc == 3 && strcmp(argv[1], "restore") == 0)
    Check("restore", RegRestoreKeyW((HKEY)root, text, 0));
  else
    return 2;
  RegCloseKey((HKEY)root);
  return 0;
}
