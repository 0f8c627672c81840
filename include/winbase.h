/*
 * Kernel functions of libkernel32: modules, critical sections, thread-local storage, text conversion, time,
 * events and waits, and the last error.
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

/*
 * Events, processes and waiting for them.
 *
 * A HANDLE from these functions belongs to the caller, who closes it with CloseHandle; the end of the process closes
 * what is left. It is a number of this process: a stale one is refused with ERROR_INVALID_HANDLE, and so is one whose
 * descriptor the program has closed behind the library's back. A forked child has copies of all handles, which count
 * like handles of its own; a program that is started gets none, whatever bInheritHandle says.
 */
#define MAXIMUM_WAIT_OBJECTS 64u
#define WAIT_OBJECT_0 0u
#define WAIT_FAILED 0xFFFFFFFFu

#define EVENT_QUERY_STATE 0x0001u
#define EVENT_MODIFY_STATE 0x0002u
#define EVENT_ALL_ACCESS 0x001F0003u

#define PROCESS_TERMINATE 0x0001u
#define PROCESS_DUP_HANDLE 0x0040u
#define PROCESS_SET_INFORMATION 0x0200u
#define PROCESS_QUERY_INFORMATION 0x0400u
#define PROCESS_QUERY_LIMITED_INFORMATION 0x1000u
#define PROCESS_ALL_ACCESS 0x001FFFFFu

/*
 * A new event, or the one that has this name already in any process of the user; the handle has all rights. An event
 * that is reset manually stays signalled until ResetEvent; any other lets one waiter go and is not signalled then. Kind
 * and initial state are those of the first creator. Without a name, or with an empty one, the event is known by its
 * handle alone.
 *
 * A name has up to 260 characters, every one of which counts, "\\" and "/" included; letters differ by case. A and W
 * names meet. Events of one name are one event in all processes of a user with the same temporary directory, as long as
 * any of them has a handle; the end of a process, however it ends, closes its handles.
 *
 * On success the last error is ERROR_SUCCESS, or ERROR_ALREADY_EXISTS when the event was there. Null with
 * ERROR_FILENAME_EXCED_RANGE (name too long), ERROR_ACCESS_DENIED (the folder of events in the temporary directory is
 * not the user's own), ERROR_PATH_NOT_FOUND (there is no temporary directory), ERROR_TOO_MANY_OPEN_FILES,
 * ERROR_NOT_ENOUGH_MEMORY, ERROR_DISK_FULL, or what else the system refuses. attributes are not looked at.
 */
KV_EXPORT HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state,
                                     LPCSTR name);
KV_EXPORT HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state,
                                     LPCWSTR name);

/*
 * The event of this name, with the rights that are asked for: SYNCHRONIZE to wait, EVENT_MODIFY_STATE to set and reset.
 * Null with ERROR_FILE_NOT_FOUND when nobody has such an event, ERROR_INVALID_PARAMETER for a null name,
 * ERROR_INVALID_NAME for an empty one, else as CreateEvent.
 */
KV_EXPORT HANDLE WINAPI OpenEventA(DWORD access, BOOL inherit, LPCSTR name);
KV_EXPORT HANDLE WINAPI OpenEventW(DWORD access, BOOL inherit, LPCWSTR name);

/*
 * Makes an event signalled, or not. FALSE with ERROR_INVALID_HANDLE, or ERROR_ACCESS_DENIED for a handle without
 * EVENT_MODIFY_STATE. A waiter may miss an event that is set and reset again at once.
 */
KV_EXPORT BOOL WINAPI SetEvent(HANDLE event);
KV_EXPORT BOOL WINAPI ResetEvent(HANDLE event);

/*
 * A handle of a running process, or of one that has ended but was not waited for by its parent; SYNCHRONIZE is needed
 * to wait for its end. Null with ERROR_INVALID_PARAMETER when there is no such process.
 */
KV_EXPORT HANDLE WINAPI OpenProcess(DWORD access, BOOL inherit, DWORD process_id);

/*
 * Waits until an object is signalled: an event as told above, a process once it has ended. milliseconds is the longest
 * time; 0 only looks, INFINITE waits for ever. Returns WAIT_OBJECT_0 plus the index of the first object of the array
 * that is signalled or, with wait_all, WAIT_OBJECT_0 once all of them are at the same time, none of which has lost its
 * signal before; WAIT_TIMEOUT; or WAIT_FAILED with ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED (no SYNCHRONIZE),
 * ERROR_NOT_ENOUGH_MEMORY, or ERROR_INVALID_PARAMETER (no or more than MAXIMUM_WAIT_OBJECTS handles, or one twice with
 * wait_all). A handle that is closed meanwhile is waited for all the same. The last error stays as it is on success.
 */
KV_EXPORT DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds);
KV_EXPORT DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL wait_all, DWORD milliseconds);

/* Closes a handle. FALSE with ERROR_INVALID_HANDLE. The current process and the process's token are no handles that
 * need closing: TRUE, and nothing is done. */
KV_EXPORT BOOL WINAPI CloseHandle(HANDLE object);

#if defined(UNICODE) || defined(_UNICODE)
#define CreateEvent CreateEventW
#define OpenEvent OpenEventW
#else
#define CreateEvent CreateEventA
#define OpenEvent OpenEventA
#endif

KV_END_C

#if !defined(UNICODE) && !defined(_UNICODE)
#define LoadLibrary LoadLibraryA
#define GetModuleFileName GetModuleFileNameA
#define GetComputerName GetComputerNameA
#endif

#endif
