/*
 * What ported sources habitually use of the base library beside the rest: memory, messages, names, time and atomic
 * arithmetic. winbase.h includes it.
 *
 * Every function may be called from any thread. A function sets the last error only where its text says so.
 */
#ifndef KELVANE_BASE_SERVICES_H
#define KELVANE_BASE_SERVICES_H

#include <stdarg.h>

#include "../windef.h"
#include "../winnt.h"

KV_BEGIN_C

/*
 * Memory of the one process heap: HeapAlloc gives a block aligned for every type, zeroed with HEAP_ZERO_MEMORY, or
 * null (the last error is not set); other flags mean nothing. HeapFree takes null, too. Any other heap handle gives
 * null, or FALSE with ERROR_INVALID_HANDLE.
 */
#define HEAP_NO_SERIALIZE 0x00000001u
#define HEAP_GENERATE_EXCEPTIONS 0x00000004u
#define HEAP_ZERO_MEMORY 0x00000008u
KV_EXPORT HANDLE WINAPI GetProcessHeap(void);
KV_EXPORT LPVOID WINAPI HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size);
KV_EXPORT BOOL WINAPI HeapFree(HANDLE heap, DWORD flags, LPVOID block);

/*
 * Local memory. All of it is fixed: the handle is the block's address, also with LMEM_MOVEABLE. LocalAlloc gives null
 * with ERROR_NOT_ENOUGH_MEMORY when there is none. LocalFree takes null, too, and returns null.
 */
typedef HANDLE HLOCAL;
#define LMEM_FIXED 0x0000u
#define LMEM_MOVEABLE 0x0002u
#define LMEM_ZEROINIT 0x0040u
#define LPTR (LMEM_FIXED | LMEM_ZEROINIT)
KV_EXPORT HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T size);
KV_EXPORT HLOCAL WINAPI LocalFree(HLOCAL block);

/* The length of a text without its terminator, in bytes or wide characters; 0 for null. */
KV_EXPORT int WINAPI lstrlenA(LPCSTR text);
KV_EXPORT int WINAPI lstrlenW(LPCWSTR text);

/*
 * Converts wide characters to text of a code page, as MultiByteToWideChar does the other way; source_length is in
 * characters (-1: up to and including the terminator), room in bytes, and with room 0 only the size needed is
 * returned. A character that the page cannot express becomes default_character ("?" when that is null), and
 * *used_default tells whether one did; both must be null for CP_UTF8. WC_ERR_INVALID_CHARS refuses what is no
 * Unicode character (ERROR_NO_UNICODE_TRANSLATION); otherwise U+DC00 + b goes back to the byte b. Last errors as
 * there.
 */
#define WC_COMPOSITECHECK 0x00000200u
#define WC_ERR_INVALID_CHARS 0x00000080u
#define WC_NO_BEST_FIT_CHARS 0x00000400u
KV_EXPORT int WINAPI WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR source, int source_length,
                                         LPSTR destination, int room, LPCSTR default_character, LPBOOL used_default);

/*
 * The English text of a system code or HRESULT, ended by CR LF; returns its length in characters without the
 * terminator. FORMAT_MESSAGE_FROM_SYSTEM must be among the flags. With FORMAT_MESSAGE_ALLOCATE_BUFFER the buffer is
 * the address of a pointer, which gets a block of at least size characters for LocalFree; otherwise size is the
 * buffer's room with the terminator, and nothing is written when the text does not fit. A width in the low byte of
 * the flags breaks the lines; FORMAT_MESSAGE_MAX_WIDTH_MASK makes the line end a blank. The messages have no
 * inserts, so arguments is not read.
 *
 * 0 with a last error: ERROR_INVALID_PARAMETER null buffer or no source, ERROR_INSUFFICIENT_BUFFER,
 * ERROR_MR_MID_NOT_FOUND no such code, ERROR_RESOURCE_LANG_NOT_FOUND a language other than neutral and English,
 * ERROR_RESOURCE_TYPE_NOT_FOUND a module alone (modules carry no messages here), ERROR_CALL_NOT_IMPLEMENTED
 * FORMAT_MESSAGE_FROM_STRING, ERROR_NOT_ENOUGH_MEMORY.
 */
#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100u
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200u
#define FORMAT_MESSAGE_FROM_STRING 0x00000400u
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000u
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000u
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FFu
#define MAKELANGID(primary, sub) ((WORD)((((WORD)(sub)) << 10) | (WORD)(primary)))
#define PRIMARYLANGID(language) ((WORD)((WORD)(language)&0x3ff))
#define SUBLANGID(language) ((WORD)((WORD)(language) >> 10))
#define LANG_NEUTRAL 0x00
#define LANG_ENGLISH 0x09
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_SYS_DEFAULT 0x02
#define SUBLANG_ENGLISH_US 0x01
#define LANG_SYSTEM_DEFAULT MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT)
#define LANG_USER_DEFAULT MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT)
KV_EXPORT DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID source, DWORD message_id, DWORD language_id, LPSTR buffer,
                                      DWORD size, va_list* arguments);
KV_EXPORT DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID source, DWORD message_id, DWORD language_id, LPWSTR buffer,
                                      DWORD size, va_list* arguments);

/*
 * Puts the values of environment variables in the place of their names between percent signs; a name is looked for
 * as it is written and then without regard to case. Unknown names and lone percent signs stay. Returns the count of
 * characters needed, terminator included; when that is more than room, or destination is null, nothing is written.
 * 0 with ERROR_INVALID_PARAMETER for a null source, or with ERROR_NOT_ENOUGH_MEMORY.
 */
KV_EXPORT DWORD WINAPI ExpandEnvironmentStringsA(LPCSTR source, LPSTR destination, DWORD room);
KV_EXPORT DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR destination, DWORD room);

/*
 * A module that is loaded already, by its file name in any case, with or without ".dll"; "NAME" and "NAME.dll" also
 * mean "libNAME.so", so that "ADVAPI32" is this library. The program itself for null. Null with ERROR_MOD_NOT_FOUND
 * for any other name. The caller owns nothing.
 */
KV_EXPORT HMODULE WINAPI GetModuleHandleA(LPCSTR name);
KV_EXPORT HMODULE WINAPI GetModuleHandleW(LPCWSTR name);

/* LoadLibraryA with a wide name. Both find the layer's own libraries under their Windows names, as above. */
KV_EXPORT HMODULE WINAPI LoadLibraryW(LPCWSTR name);

/* TRUE for a loaded module, which stays loaded for the life of the process; FALSE with ERROR_MOD_NOT_FOUND for
 * anything else. */
KV_EXPORT BOOL WINAPI FreeLibrary(HMODULE module);

/* This process and this thread: values that mean the caller wherever they are used, and are never closed; and their
 * numbers as the system has them. */
KV_EXPORT HANDLE WINAPI GetCurrentProcess(void);
KV_EXPORT HANDLE WINAPI GetCurrentThread(void);
KV_EXPORT DWORD WINAPI GetCurrentProcessId(void);
KV_EXPORT DWORD WINAPI GetCurrentThreadId(void);

/* Milliseconds since the machine was started, time asleep included; the first wraps after 49.7 days. */
KV_EXPORT DWORD WINAPI GetTickCount(void);
KV_EXPORT ULONGLONG WINAPI GetTickCount64(void);

/* Waits at least this long, signals or not; 0 lets other threads run, INFINITE never returns. */
KV_EXPORT void WINAPI Sleep(DWORD milliseconds);

/*
 * The login name of the user whom the calling thread impersonates, else of the effective user. *size is the room in
 * characters on entry and the length with the terminator on return, also when it does not fit: FALSE with
 * ERROR_INSUFFICIENT_BUFFER. ERROR_NONE_MAPPED for a user without a name, ERROR_INVALID_PARAMETER for a null size.
 */
#define UNLEN 256
KV_EXPORT BOOL WINAPI GetUserNameA(LPSTR name, LPDWORD size);
KV_EXPORT BOOL WINAPI GetUserNameW(LPWSTR name, LPDWORD size);

/* Atomic arithmetic, each a full barrier. Increment and Decrement return the new value, all others the former one. */
KV_EXPORT LONG WINAPI InterlockedDecrement(LONG volatile* value);
KV_EXPORT LONG WINAPI InterlockedExchange(LONG volatile* target, LONG value);
KV_EXPORT LONG WINAPI InterlockedExchangeAdd(LONG volatile* target, LONG value);
KV_EXPORT LONG WINAPI InterlockedCompareExchange(LONG volatile* target, LONG value, LONG expected);
KV_EXPORT LONG WINAPI InterlockedAnd(LONG volatile* target, LONG bits);
KV_EXPORT LONG WINAPI InterlockedOr(LONG volatile* target, LONG bits);
KV_EXPORT LONG WINAPI InterlockedXor(LONG volatile* target, LONG bits);
KV_EXPORT LONG64 WINAPI InterlockedIncrement64(LONG64 volatile* value);
KV_EXPORT LONG64 WINAPI InterlockedDecrement64(LONG64 volatile* value);
KV_EXPORT LONG64 WINAPI InterlockedExchange64(LONG64 volatile* target, LONG64 value);
KV_EXPORT LONG64 WINAPI InterlockedExchangeAdd64(LONG64 volatile* target, LONG64 value);
KV_EXPORT LONG64 WINAPI InterlockedCompareExchange64(LONG64 volatile* target, LONG64 value, LONG64 expected);
KV_EXPORT PVOID WINAPI InterlockedExchangePointer(PVOID volatile* target, PVOID value);
KV_EXPORT PVOID WINAPI InterlockedCompareExchangePointer(PVOID volatile* target, PVOID value, PVOID expected);

KV_END_C

#if defined(UNICODE) || defined(_UNICODE)
#define KV_BASE_FORM(name) name##W
#else
#define KV_BASE_FORM(name) name##A
#endif
#define lstrlen KV_BASE_FORM(lstrlen)
#define FormatMessage KV_BASE_FORM(FormatMessage)
#define ExpandEnvironmentStrings KV_BASE_FORM(ExpandEnvironmentStrings)
#define GetModuleHandle KV_BASE_FORM(GetModuleHandle)
#define LoadLibrary KV_BASE_FORM(LoadLibrary)
#define GetUserName KV_BASE_FORM(GetUserName)

#endif
