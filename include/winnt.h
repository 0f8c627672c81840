/*
 * Types and constants that the kernel, registry and security interfaces share: text types that follow
 * UNICODE, generic and standard access rights, registry rights, options and value types.
 */
#ifndef KELVANE_WINNT_H
#define KELVANE_WINNT_H

#include "windef.h"

typedef LONG HRESULT;
typedef LONG NTSTATUS;
typedef DWORD ACCESS_MASK, *PACCESS_MASK, REGSAM;
typedef DWORD SECURITY_INFORMATION, *PSECURITY_INFORMATION;
typedef PVOID PSECURITY_DESCRIPTOR;
typedef PVOID PSID;

#if defined(UNICODE) || defined(_UNICODE)
typedef WCHAR TCHAR, *PTCHAR;
typedef LPWSTR PTSTR, LPTSTR;
typedef LPCWSTR PCTSTR, LPCTSTR;
#define __TEXT(quote) L##quote
#else
typedef CHAR TCHAR, *PTCHAR;
typedef LPSTR PTSTR, LPTSTR;
typedef LPCSTR PCTSTR, LPCTSTR;
#define __TEXT(quote) quote
#endif
#ifndef TEXT
#define TEXT(quote) __TEXT(quote)
#endif

#define ANSI_NULL ((CHAR)0)
#define UNICODE_NULL ((WCHAR)0)

/* Standard and generic rights. */
#define DELETE 0x00010000u
#define READ_CONTROL 0x00020000u
#define WRITE_DAC 0x00040000u
#define WRITE_OWNER 0x00080000u
#define SYNCHRONIZE 0x00100000u
#define STANDARD_RIGHTS_REQUIRED 0x000F0000u
#define STANDARD_RIGHTS_READ READ_CONTROL
#define STANDARD_RIGHTS_WRITE READ_CONTROL
#define STANDARD_RIGHTS_EXECUTE READ_CONTROL
#define STANDARD_RIGHTS_ALL 0x001F0000u
#define SPECIFIC_RIGHTS_ALL 0x0000FFFFu
#define ACCESS_SYSTEM_SECURITY 0x01000000u
#define MAXIMUM_ALLOWED 0x02000000u
#define GENERIC_ALL 0x10000000u
#define GENERIC_EXECUTE 0x20000000u
#define GENERIC_WRITE 0x40000000u
#define GENERIC_READ 0x80000000u

/* Rights of a registry key handle. */
#define KEY_QUERY_VALUE 0x0001u
#define KEY_SET_VALUE 0x0002u
#define KEY_CREATE_SUB_KEY 0x0004u
#define KEY_ENUMERATE_SUB_KEYS 0x0008u
#define KEY_NOTIFY 0x0010u
#define KEY_CREATE_LINK 0x0020u
#define KEY_WOW64_64KEY 0x0100u
#define KEY_WOW64_32KEY 0x0200u
#define KEY_WOW64_RES 0x0300u
#define KEY_READ 0x00020019u
#define KEY_WRITE 0x00020006u
#define KEY_EXECUTE KEY_READ
#define KEY_ALL_ACCESS 0x000F003Fu

/* Options of RegCreateKeyEx and RegOpenKeyEx, and its dispositions. */
#define REG_OPTION_RESERVED 0x00000000u
#define REG_OPTION_NON_VOLATILE 0x00000000u
#define REG_OPTION_VOLATILE 0x00000001u
#define REG_OPTION_CREATE_LINK 0x00000002u
#define REG_OPTION_BACKUP_RESTORE 0x00000004u
#define REG_OPTION_OPEN_LINK 0x00000008u
#define REG_CREATED_NEW_KEY 1u
#define REG_OPENED_EXISTING_KEY 2u

/* Flags of RegRestoreKey and RegLoadKey. */
#define REG_WHOLE_HIVE_VOLATILE 0x00000001u
#define REG_REFRESH_HIVE 0x00000002u
#define REG_NO_LAZY_FLUSH 0x00000004u
#define REG_FORCE_RESTORE 0x00000008u

/* Filter of RegNotifyChangeKeyValue. */
#define REG_NOTIFY_CHANGE_NAME 0x00000001u
#define REG_NOTIFY_CHANGE_ATTRIBUTES 0x00000002u
#define REG_NOTIFY_CHANGE_LAST_SET 0x00000004u
#define REG_NOTIFY_CHANGE_SECURITY 0x00000008u
#define REG_LEGAL_CHANGE_FILTER 0x0000000Fu
/* Allowed beside them; every watch is independent of the thread that asked for it. */
#define REG_NOTIFY_THREAD_AGNOSTIC 0x10000000u

/* Types of registry values. REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ are text; every other type is bytes. */
#define REG_NONE 0u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_BINARY 3u
#define REG_DWORD 4u
#define REG_DWORD_LITTLE_ENDIAN 4u
#define REG_DWORD_BIG_ENDIAN 5u
#define REG_LINK 6u
#define REG_MULTI_SZ 7u
#define REG_RESOURCE_LIST 8u
#define REG_FULL_RESOURCE_DESCRIPTOR 9u
#define REG_RESOURCE_REQUIREMENTS_LIST 10u
#define REG_QWORD 11u
#define REG_QWORD_LITTLE_ENDIAN 11u

/* Parts of a security descriptor. */
#define OWNER_SECURITY_INFORMATION 0x00000001u
#define GROUP_SECURITY_INFORMATION 0x00000002u
#define DACL_SECURITY_INFORMATION 0x00000004u
#define SACL_SECURITY_INFORMATION 0x00000008u

/* Statuses of the native interface. */
#define STATUS_SUCCESS ((NTSTATUS)0x00000000)
#define STATUS_NOT_IMPLEMENTED ((NTSTATUS)0xC0000002)
#define STATUS_NOT_SUPPORTED ((NTSTATUS)0xC00000BB)

#endif
