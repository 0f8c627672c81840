/*
 * Basic types of the Win32 interface.
 *
 * The sizes are those of the published 64-bit Windows types: DWORD, ULONG and LONG have 32 bits although
 * this host's long has 64; pointers and the _PTR types have 64. wchar_t is the host's, 32 bits wide.
 * Compiles as C11 and as C++17 or later; defines no min or max macro.
 */
#ifndef KELVANE_WINDEF_H
#define KELVANE_WINDEF_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

/* Calling conventions carry nothing on this host. */
#ifndef WINAPI
#define WINAPI
#endif
#ifndef CALLBACK
#define CALLBACK
#endif
#ifndef APIENTRY
#define APIENTRY WINAPI
#endif
#ifndef WINADVAPI
#define WINADVAPI
#endif
#ifndef WINBASEAPI
#define WINBASEAPI
#endif

#ifndef CONST
#define CONST const
#endif
#ifndef VOID
#define VOID void
#endif

#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif

#define MAX_PATH 260

/* Marks a function or object that one of the layer's libraries exports. */
#define KV_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
#define KV_BEGIN_C extern "C" {
#define KV_END_C }
#else
#define KV_BEGIN_C
#define KV_END_C
#endif

typedef char CHAR;
typedef wchar_t WCHAR;
typedef unsigned char BYTE, UCHAR, BOOLEAN;
typedef short SHORT;
typedef unsigned short WORD, USHORT;
typedef int INT, LONG, BOOL;
typedef unsigned int UINT, ULONG, DWORD;
typedef float FLOAT;
typedef int64_t LONGLONG, LONG64, INT64;
typedef uint64_t ULONGLONG, DWORDLONG, DWORD64, ULONG64, UINT64;
typedef int32_t INT32, LONG32;
typedef uint32_t UINT32, ULONG32, DWORD32;
typedef intptr_t INT_PTR, LONG_PTR, SSIZE_T;
typedef uintptr_t UINT_PTR, ULONG_PTR, DWORD_PTR, SIZE_T;

typedef void *PVOID, *LPVOID;
typedef const void* LPCVOID;
typedef CHAR *PCHAR, *PSTR, *LPSTR;
typedef const CHAR *PCSTR, *LPCSTR;
typedef WCHAR *PWCHAR, *PWSTR, *LPWSTR;
typedef const WCHAR *PCWSTR, *LPCWSTR;
typedef BYTE *PBYTE, *LPBYTE;
typedef const BYTE* LPCBYTE;
typedef UCHAR* PUCHAR;
typedef BOOLEAN* PBOOLEAN;
typedef SHORT* PSHORT;
typedef WORD *PWORD, *LPWORD;
typedef USHORT* PUSHORT;
typedef INT *PINT, *LPINT;
typedef LONG *PLONG, *LPLONG;
typedef BOOL *PBOOL, *LPBOOL;
typedef UINT* PUINT;
typedef ULONG* PULONG;
typedef DWORD *PDWORD, *LPDWORD;
typedef ULONGLONG* PULONGLONG;
typedef LONGLONG* PLONGLONG;
typedef DWORD64* PDWORD64;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM, LRESULT;

typedef PVOID HANDLE;
typedef HANDLE *PHANDLE, *LPHANDLE;

/* A handle type of its own, which no other handle type converts to without a cast. */
#define DECLARE_HANDLE(name) \
  struct name##__ {          \
    int unused;              \
  };                         \
  typedef struct name##__* name

DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HKEY);
typedef HINSTANCE HMODULE;
typedef HKEY* PHKEY;

typedef INT_PTR(WINAPI* FARPROC)(void);

/* 100-nanosecond intervals since 1 January 1601 (UTC), as two halves. */
typedef struct _FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef DWORD COLORREF, *LPCOLORREF;

typedef struct tagPOINT {
  LONG x;
  LONG y;
} POINT, *PPOINT, *LPPOINT, POINTL, *PPOINTL;

typedef struct tagPOINTS {
  SHORT x;
  SHORT y;
} POINTS, *PPOINTS, *LPPOINTS;

typedef struct tagSIZE {
  LONG cx;
  LONG cy;
} SIZE, *PSIZE, *LPSIZE, SIZEL, *PSIZEL, *LPSIZEL;

typedef struct _RECTL {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
} RECTL, *PRECTL, *LPRECTL;

#define LOBYTE(w) ((BYTE)((DWORD_PTR)(w)&0xff))
#define HIBYTE(w) ((BYTE)(((DWORD_PTR)(w) >> 8) & 0xff))
#define LOWORD(l) ((WORD)((DWORD_PTR)(l)&0xffff))
#define HIWORD(l) ((WORD)(((DWORD_PTR)(l) >> 16) & 0xffff))
#define MAKEWORD(low, high) ((WORD)(((BYTE)((DWORD_PTR)(low)&0xff)) | ((WORD)((BYTE)((DWORD_PTR)(high)&0xff)) << 8)))
#define MAKELONG(low, high) \
  ((LONG)(((WORD)((DWORD_PTR)(low)&0xffff)) | ((DWORD)((WORD)((DWORD_PTR)(high)&0xffff)) << 16)))

#endif
