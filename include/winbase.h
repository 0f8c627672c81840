/*
 * Kernel functions of libkernel32: modules, critical sections, thread-local storage, text conversion, time
 * and the last error.
 *
 * Every function may be called from any thread. A function sets the last error only where its text says so.
 */
#ifndef KELVANE_WINBASE_H
#define KELVANE_WINBASE_H

#include "windef.h"
#include "winerror.h"
#include "winnt.h"

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)
#define INFINITE 0xFFFFFFFFu
#define TLS_OUT_OF_INDEXES 0xFFFFFFFFu
#define MAX_COMPUTERNAME_LENGTH 15

/* Code pages of MultiByteToWideChar: the environment's, and UTF-8. */
#define CP_ACP 0u
#define CP_UTF8 65001u
#define MB_PRECOMPOSED 0x00000001u
#define MB_ERR_INVALID_CHARS 0x00000008u

KV_BEGIN_C

typedef struct _SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

typedef struct _SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek; /* 0 is Sunday */
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

/*
 * A recursive lock of 40 bytes. Its fields are the library's; initialise it before use and delete it after.
 */
typedef struct _RTL_CRITICAL_SECTION {
  PVOID Lock;
  ULONG_PTR Reserved[4];
} RTL_CRITICAL_SECTION, CRITICAL_SECTION, *PCRITICAL_SECTION, *LPCRITICAL_SECTION;

KV_EXPORT void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
KV_EXPORT void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
KV_EXPORT void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);
KV_EXPORT void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section);

/* The calling thread's last error; 0 in a new thread. */
KV_EXPORT DWORD WINAPI GetLastError(void);
KV_EXPORT void WINAPI SetLastError(DWORD code);

/*
 * Loads the shared object that carries exactly this file name, such as "advapi32impl.dll". A name without
 * "/" is searched in the folders of KVMODULE_PATH (separated by ":"), then in "kelvane/" beside
 * libkernel32.so, then along the loader's own path; a name with "/" is taken as it stands. The same file
 * gives the same module. Null when no such object can be loaded: the last error is then
 * ERROR_MOD_NOT_FOUND and KvModuleError() tells the reason.
 */
KV_EXPORT HMODULE WINAPI LoadLibraryA(LPCSTR name);

/* The address of a symbol with C linkage in the module itself, or null with the last error
 * ERROR_PROC_NOT_FOUND. */
KV_EXPORT FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);

/*
 * The full path of a module's file; a null module is the program. Returns the number of characters without
 * the terminator. A path that does not fit is cut to size - 1 characters and terminated, and size is
 * returned with the last error ERROR_INSUFFICIENT_BUFFER. 0 for an unknown module (ERROR_INVALID_HANDLE) or
 * a size of 0.
 */
KV_EXPORT DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size);

/*
 * Thread-local storage. TlsAlloc gives an index, or TLS_OUT_OF_INDEXES when all are taken (last error
 * ERROR_NOT_ENOUGH_MEMORY); a value is null in every thread until it is set. The setter and TlsFree answer
 * FALSE for an index that is not allocated (ERROR_INVALID_PARAMETER); the getter then answers null with that
 * error and clears the last error on success, since null is a value.
 */
KV_EXPORT DWORD WINAPI TlsAlloc(void);
KV_EXPORT BOOL WINAPI TlsSetValue(DWORD index, LPVOID value);
KV_EXPORT LPVOID WINAPI TlsGetValue(DWORD index);
KV_EXPORT BOOL WINAPI TlsFree(DWORD index);

/*
 * Converts text of a code page to wide characters. source_size is in bytes (-1: up to and including the
 * terminator), room is in characters; with room 0 only the number of characters needed is returned. Exactly
 * the given length is converted, zero bytes included. Returns the number of characters written; 0 with the
 * last error ERROR_INVALID_PARAMETER (a size of 0 or a null pointer), ERROR_INSUFFICIENT_BUFFER (the text
 * does not fit) or, with MB_ERR_INVALID_CHARS, ERROR_NO_UNICODE_TRANSLATION. Without that flag an
 * undecodable byte b becomes U+DC00 + b.
 */
KV_EXPORT int WINAPI MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR source, int source_size,
                                         LPWSTR destination, int room);

/* The local date and time. */
KV_EXPORT void WINAPI GetLocalTime(LPSYSTEMTIME time);

/*
 * The host's name. *size is the room in characters with the terminator on entry and the length without it on
 * success. FALSE when it does not fit: *size is then the room needed and the last error
 * ERROR_BUFFER_OVERFLOW.
 */
KV_EXPORT BOOL WINAPI GetComputerNameA(LPSTR name, LPDWORD size);

/* Adds 1 atomically, as a full barrier; returns the new value. */
KV_EXPORT LONG WINAPI InterlockedIncrement(LONG volatile* value);

KV_END_C

#if !defined(UNICODE) && !defined(_UNICODE)
#define LoadLibrary LoadLibraryA
#define GetModuleFileName GetModuleFileNameA
#define GetComputerName GetComputerNameA
#endif

#endif
