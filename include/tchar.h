/*
 * Text that follows UNICODE: the type, literals and the functions of the C library for it.
 */
#ifndef KELVANE_TCHAR_H
#define KELVANE_TCHAR_H

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <wchar.h>
#include <wctype.h>

#include "winnt.h"

#define _T(quote) __TEXT(quote)
#define _TEXT(quote) __TEXT(quote)

#if defined(UNICODE) || defined(_UNICODE)
typedef wchar_t _TCHAR;
#define _tcslen wcslen
#define _tcscpy wcscpy
#define _tcsncpy wcsncpy
#define _tcscat wcscat
#define _tcsncat wcsncat
#define _tcscmp wcscmp
#define _tcsncmp wcsncmp
#define _tcsicmp wcscasecmp
#define _tcsnicmp wcsncasecmp
#define _tcschr wcschr
#define _tcsrchr wcsrchr
#define _tcsstr wcsstr
#define _tcstol wcstol
#define _tcstoul wcstoul
#define _tprintf wprintf
#define _ftprintf fwprintf
#define _sntprintf swprintf
#define _fputts fputws
#else
typedef char _TCHAR;
#define _tcslen strlen
#define _tcscpy strcpy
#define _tcsncpy strncpy
#define _tcscat strcat
#define _tcsncat strncat
#define _tcscmp strcmp
#define _tcsncmp strncmp
#define _tcsicmp strcasecmp
#define _tcsnicmp strncasecmp
#define _tcschr strchr
#define _tcsrchr strrchr
#define _tcsstr strstr
#define _tcstol strtol
#define _tcstoul strtoul
#define _tprintf printf
#define _ftprintf fprintf
#define _sntprintf snprintf
#define _fputts fputs
/* The system hands a program its arguments in the narrow form only. */
#define _tmain main
#endif

#endif
