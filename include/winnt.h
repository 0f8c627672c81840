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

/* ==== Security identifiers, access-control lists and security descriptors ==== */

#define ANYSIZE_ARRAY 1

/* A security identifier: 8 bytes and 4 for each sub-authority. The authority's bytes are high byte first. */
typedef struct _SID_IDENTIFIER_AUTHORITY {
  BYTE Value[6];
} SID_IDENTIFIER_AUTHORITY, *PSID_IDENTIFIER_AUTHORITY;

typedef struct _SID {
  BYTE Revision;
  BYTE SubAuthorityCount;
  SID_IDENTIFIER_AUTHORITY IdentifierAuthority;
  DWORD SubAuthority[ANYSIZE_ARRAY]; /* SubAuthorityCount of them */
} SID, *PISID;

#define SID_REVISION 1u
#define SID_MAX_SUB_AUTHORITIES 15u
#define SECURITY_NULL_SID_AUTHORITY \
  { 0, 0, 0, 0, 0, 0 }
#define SECURITY_WORLD_SID_AUTHORITY \
  { 0, 0, 0, 0, 0, 1 }
#define SECURITY_LOCAL_SID_AUTHORITY \
  { 0, 0, 0, 0, 0, 2 }
#define SECURITY_CREATOR_SID_AUTHORITY \
  { 0, 0, 0, 0, 0, 3 }
#define SECURITY_NT_AUTHORITY \
  { 0, 0, 0, 0, 0, 5 }
#define SECURITY_NULL_RID 0x00000000u
#define SECURITY_WORLD_RID 0x00000000u
#define SECURITY_LOCAL_RID 0x00000000u
#define SECURITY_LOCAL_SYSTEM_RID 0x00000012u
#define SECURITY_BUILTIN_DOMAIN_RID 0x00000020u
#define DOMAIN_ALIAS_RID_ADMINS 0x00000220u
#define DOMAIN_ALIAS_RID_USERS 0x00000221u

/* An access-control list: this header, then AceCount entries one behind the other, each AceSize bytes long. */
typedef struct _ACL {
  BYTE AclRevision;
  BYTE Sbz1;
  WORD AclSize; /* bytes of the whole list, free ones included */
  WORD AceCount;
  WORD Sbz2;
} ACL, *PACL;

#define ACL_REVISION 2u

typedef struct _ACE_HEADER {
  BYTE AceType;
  BYTE AceFlags;
  WORD AceSize; /* bytes of the whole entry */
} ACE_HEADER, *PACE_HEADER;

/* The three entries share one layout: header, rights, and a SID that begins at SidStart. */
typedef struct _ACCESS_ALLOWED_ACE {
  ACE_HEADER Header;
  ACCESS_MASK Mask;
  DWORD SidStart;
} ACCESS_ALLOWED_ACE, *PACCESS_ALLOWED_ACE;

typedef struct _ACCESS_DENIED_ACE {
  ACE_HEADER Header;
  ACCESS_MASK Mask;
  DWORD SidStart;
} ACCESS_DENIED_ACE, *PACCESS_DENIED_ACE;

typedef struct _SYSTEM_AUDIT_ACE {
  ACE_HEADER Header;
  ACCESS_MASK Mask;
  DWORD SidStart;
} SYSTEM_AUDIT_ACE, *PSYSTEM_AUDIT_ACE;

#define ACCESS_ALLOWED_ACE_TYPE 0u
#define ACCESS_DENIED_ACE_TYPE 1u
#define SYSTEM_AUDIT_ACE_TYPE 2u
#define SYSTEM_ALARM_ACE_TYPE 3u
#define SUCCESSFUL_ACCESS_ACE_FLAG 0x40u
#define FAILED_ACCESS_ACE_FLAG 0x80u

typedef enum _ACL_INFORMATION_CLASS { AclRevisionInformation = 1, AclSizeInformation } ACL_INFORMATION_CLASS;

typedef struct _ACL_REVISION_INFORMATION {
  DWORD AclRevision;
} ACL_REVISION_INFORMATION, *PACL_REVISION_INFORMATION;

typedef struct _ACL_SIZE_INFORMATION {
  DWORD AceCount;
  DWORD AclBytesInUse;
  DWORD AclBytesFree; /* AclSize less the bytes in use, modulo 2^32 */
} ACL_SIZE_INFORMATION, *PACL_SIZE_INFORMATION;

typedef WORD SECURITY_DESCRIPTOR_CONTROL, *PSECURITY_DESCRIPTOR_CONTROL;

/*
 * A security descriptor of 40 bytes. In the absolute form the last four fields are pointers, null for an absent
 * part. With SE_SELF_RELATIVE they are 64-bit offsets from the descriptor's first byte, 0 for an absent part,
 * and the parts follow the header without gaps in the order owner, group, SACL, DACL. This self-relative form
 * is the layer's own: the one with a header of 20 bytes is not read here.
 */
typedef struct _SECURITY_DESCRIPTOR {
  BYTE Revision;
  BYTE Sbz1;
  SECURITY_DESCRIPTOR_CONTROL Control;
  PSID Owner;
  PSID Group;
  PACL Sacl;
  PACL Dacl;
} SECURITY_DESCRIPTOR, *PISECURITY_DESCRIPTOR;

#define SECURITY_DESCRIPTOR_REVISION 1u
#define SECURITY_DESCRIPTOR_MIN_LENGTH sizeof(SECURITY_DESCRIPTOR)
#define SE_OWNER_DEFAULTED 0x0001u
#define SE_GROUP_DEFAULTED 0x0002u
#define SE_DACL_PRESENT 0x0004u
#define SE_DACL_DEFAULTED 0x0008u
#define SE_SACL_PRESENT 0x0010u
#define SE_SACL_DEFAULTED 0x0020u
#define SE_SELF_RELATIVE 0x8000u

#ifdef __cplusplus
static_assert(sizeof(SID) == 12 && offsetof(SID, SubAuthorityCount) == 1, "the published layout");
static_assert(offsetof(SID, IdentifierAuthority) == 2 && offsetof(SID, SubAuthority) == 8, "the published layout");
static_assert(sizeof(ACL) == 8 && offsetof(ACL, AclSize) == 2 && offsetof(ACL, AceCount) == 4, "the published layout");
static_assert(sizeof(ACE_HEADER) == 4 && offsetof(ACE_HEADER, AceFlags) == 1, "the published layout");
static_assert(offsetof(ACE_HEADER, AceSize) == 2, "the published layout");
static_assert(sizeof(ACCESS_ALLOWED_ACE) == 12 && offsetof(ACCESS_ALLOWED_ACE, Mask) == 4, "the published layout");
static_assert(offsetof(ACCESS_ALLOWED_ACE, SidStart) == 8, "the published layout");
static_assert(sizeof(ACCESS_DENIED_ACE) == 12 && sizeof(SYSTEM_AUDIT_ACE) == 12, "the published layout");
static_assert(sizeof(ACL_REVISION_INFORMATION) == 4 && sizeof(ACL_SIZE_INFORMATION) == 12, "the published layout");
static_assert(offsetof(ACL_SIZE_INFORMATION, AclBytesFree) == 8, "the published layout");
static_assert(sizeof(SECURITY_DESCRIPTOR) == 40 && offsetof(SECURITY_DESCRIPTOR, Control) == 2, "the header's layout");
static_assert(offsetof(SECURITY_DESCRIPTOR, Owner) == 8 && offsetof(SECURITY_DESCRIPTOR, Group) == 16,
              "the header's layout");
static_assert(offsetof(SECURITY_DESCRIPTOR, Sacl) == 24 && offsetof(SECURITY_DESCRIPTOR, Dacl) == 32,
              "the header's layout");
#endif

#include "kelvane/privilege_types.h"
#include "kelvane/token_types.h"

/* Statuses of the native interface. */
#define STATUS_SUCCESS ((NTSTATUS)0x00000000)
#define STATUS_MORE_ENTRIES ((NTSTATUS)0x00000105)
#define STATUS_UNSUCCESSFUL ((NTSTATUS)0xC0000001)
#define STATUS_NOT_IMPLEMENTED ((NTSTATUS)0xC0000002)
#define STATUS_INVALID_PARAMETER ((NTSTATUS)0xC000000D)
#define STATUS_NO_MEMORY ((NTSTATUS)0xC0000017)
#define STATUS_ACCESS_DENIED ((NTSTATUS)0xC0000022)
#define STATUS_BUFFER_TOO_SMALL ((NTSTATUS)0xC0000023)
#define STATUS_LOGON_FAILURE ((NTSTATUS)0xC000006D)
#define STATUS_NOT_SUPPORTED ((NTSTATUS)0xC00000BB)
#define STATUS_NOT_FOUND ((NTSTATUS)0xC0000225)

#endif
