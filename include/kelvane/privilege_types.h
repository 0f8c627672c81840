/*
 * Types of tokens, privileges and impersonation, and of mapping generic rights. winnt.h includes it.
 */
#ifndef KELVANE_PRIVILEGE_TYPES_H
#define KELVANE_PRIVILEGE_TYPES_H

#include "../windef.h"

/* What each generic right stands for with one kind of object. */
typedef struct _GENERIC_MAPPING {
  DWORD GenericRead;
  DWORD GenericWrite;
  DWORD GenericExecute;
  DWORD GenericAll;
} GENERIC_MAPPING, *PGENERIC_MAPPING;

/* A value that is unique until the machine restarts. */
typedef struct _LUID {
  DWORD LowPart;
  LONG HighPart;
} LUID, *PLUID;

typedef struct _LUID_AND_ATTRIBUTES {
  LUID Luid;
  DWORD Attributes;
} LUID_AND_ATTRIBUTES, *PLUID_AND_ATTRIBUTES;

#define SE_PRIVILEGE_ENABLED_BY_DEFAULT 0x00000001u
#define SE_PRIVILEGE_ENABLED 0x00000002u
#define SE_PRIVILEGE_USED_FOR_ACCESS 0x80000000u

#define PRIVILEGE_SET_ALL_NECESSARY 1u

typedef struct _PRIVILEGE_SET {
  DWORD PrivilegeCount;
  DWORD Control;
  LUID_AND_ATTRIBUTES Privilege[1]; /* PrivilegeCount of them */
} PRIVILEGE_SET, *PPRIVILEGE_SET;

typedef struct _SID_AND_ATTRIBUTES {
  PVOID Sid;
  DWORD Attributes;
} SID_AND_ATTRIBUTES, *PSID_AND_ATTRIBUTES;

typedef enum _SID_NAME_USE {
  SidTypeUser = 1,
  SidTypeGroup,
  SidTypeDomain,
  SidTypeAlias,
  SidTypeWellKnownGroup,
  SidTypeDeletedAccount,
  SidTypeInvalid,
  SidTypeUnknown
} SID_NAME_USE,
    *PSID_NAME_USE;

typedef enum _SECURITY_IMPERSONATION_LEVEL {
  SecurityAnonymous,
  SecurityIdentification,
  SecurityImpersonation,
  SecurityDelegation
} SECURITY_IMPERSONATION_LEVEL,
    *PSECURITY_IMPERSONATION_LEVEL;

#define TOKEN_ASSIGN_PRIMARY 0x0001u
#define TOKEN_DUPLICATE 0x0002u
#define TOKEN_IMPERSONATE 0x0004u
#define TOKEN_QUERY 0x0008u
#define TOKEN_QUERY_SOURCE 0x0010u
#define TOKEN_ADJUST_PRIVILEGES 0x0020u
#define TOKEN_ADJUST_GROUPS 0x0040u
#define TOKEN_ADJUST_DEFAULT 0x0080u
#define TOKEN_READ 0x00020008u
#define TOKEN_ALL_ACCESS 0x000F00FFu

typedef enum _TOKEN_TYPE { TokenPrimary = 1, TokenImpersonation } TOKEN_TYPE, *PTOKEN_TYPE;

typedef enum _TOKEN_INFORMATION_CLASS {
  TokenUser = 1,
  TokenGroups,
  TokenPrivileges,
  TokenOwner,
  TokenPrimaryGroup,
  TokenDefaultDacl,
  TokenSource,
  TokenType,
  TokenImpersonationLevel,
  TokenStatistics
} TOKEN_INFORMATION_CLASS;

typedef struct _TOKEN_GROUPS {
  DWORD GroupCount;
  SID_AND_ATTRIBUTES Groups[1]; /* GroupCount of them */
} TOKEN_GROUPS, *PTOKEN_GROUPS;

typedef struct _TOKEN_PRIVILEGES {
  DWORD PrivilegeCount;
  LUID_AND_ATTRIBUTES Privileges[1]; /* PrivilegeCount of them */
} TOKEN_PRIVILEGES, *PTOKEN_PRIVILEGES;

#define TOKEN_SOURCE_LENGTH 8
typedef struct _TOKEN_SOURCE {
  CHAR SourceName[TOKEN_SOURCE_LENGTH];
  LUID SourceIdentifier;
} TOKEN_SOURCE, *PTOKEN_SOURCE;

#ifdef __cplusplus
static_assert(sizeof(GENERIC_MAPPING) == 16 && sizeof(LUID) == 8, "the published layout");
static_assert(sizeof(LUID_AND_ATTRIBUTES) == 12 && offsetof(LUID_AND_ATTRIBUTES, Attributes) == 8,
              "the published layout");
static_assert(sizeof(PRIVILEGE_SET) == 20 && offsetof(PRIVILEGE_SET, Privilege) == 8, "the published layout");
static_assert(sizeof(SID_AND_ATTRIBUTES) == 16 && offsetof(SID_AND_ATTRIBUTES, Attributes) == 8,
              "the published layout");
static_assert(sizeof(TOKEN_GROUPS) == 24 && offsetof(TOKEN_GROUPS, Groups) == 8, "the published layout");
static_assert(sizeof(TOKEN_PRIVILEGES) == 16 && offsetof(TOKEN_PRIVILEGES, Privileges) == 4, "the published layout");
static_assert(sizeof(TOKEN_SOURCE) == 16, "the published layout");
#endif

#endif
