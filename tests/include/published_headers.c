/* A C source of the kind that is ported: what it takes for granted about the published headers. */
#ifdef OURS_FIRST
#include <windows.h>
/* Included by themselves. */
#include <dbghelp.h>
#include <ntsecapi.h>
#include <process.h>
#include <sspi.h>
#include <tchar.h>
#include <winternl.h>
#endif
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sqlite3.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>
#ifdef OURS_LAST
#include <windows.h>
/* Included by themselves. */
#include <dbghelp.h>
#include <ntsecapi.h>
#include <process.h>
#include <sspi.h>
#include <tchar.h>
#include <winternl.h>
#endif

/* Root handles initialise static objects. */
static HKEY roots[] = {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_CONFIG};
static const struct {
  HKEY root;
  const TCHAR* path;
} place = {HKEY_CURRENT_USER, TEXT("Software\\Example")};

LONG CALLBACK read_setting(LPCTSTR name, LPDWORD value);

LONG CALLBACK read_setting(LPCTSTR name, LPDWORD value) {
  HKEY key = NULL;
  DWORD type, size = sizeof(DWORD);
  LONG error = RegOpenKeyEx(place.root, place.path, 0, KEY_READ, &key);
  if (error != ERROR_SUCCESS || key == INVALID_HANDLE_VALUE) return error;
  error = RegQueryValueEx(key, name, NULL, &type, (LPBYTE)value, &size);
  RegCloseKey(key);
  return error == ERROR_SUCCESS && type != REG_DWORD ? ERROR_INVALID_DATA : error;
}

HKEY root_at(DWORD index);

HKEY root_at(DWORD index) { return index < sizeof roots / sizeof roots[0] ? roots[index] : NULL; }

/* A service's table, and text that follows UNICODE. */
static TCHAR service_name[] = _T("example");
static VOID WINAPI run_service(DWORD argument_count, LPTSTR* arguments) {
  (void)argument_count;
  (void)arguments;
}

BOOL dispatch(void);

BOOL dispatch(void) {
  SERVICE_TABLE_ENTRY table[] = {{service_name, run_service}, {NULL, NULL}};
  return _tcslen(service_name) != 0 && StartServiceCtrlDispatcher(table);
}

/* An address of 64 bits needs no cast. */
DWORD64 base_of(DWORD64 address);

DWORD64 base_of(DWORD64 address) { return SymGetModuleBase64(GetCurrentProcess(), address); }
