/*
 * Records that GetTokenInformation asks room for, beside those that privileges need. winnt.h includes it.
 */
#ifndef KELVANE_TOKEN_TYPES_H
#define KELVANE_TOKEN_TYPES_H

#include "privilege_types.h"

typedef union _LARGE_INTEGER {
  __extension__ struct {
    DWORD LowPart;
    LONG HighPart;
  };
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER;

typedef struct _TOKEN_USER {
  SID_AND_ATTRIBUTES User;
} TOKEN_USER, *PTOKEN_USER;

typedef struct _TOKEN_OWNER {
  PVOID Owner; /* a SID */
} TOKEN_OWNER, *PTOKEN_OWNER;

typedef struct _TOKEN_PRIMARY_GROUP {
  PVOID PrimaryGroup; /* a SID */
} TOKEN_PRIMARY_GROUP, *PTOKEN_PRIMARY_GROUP;

typedef struct _TOKEN_DEFAULT_DACL {
  struct _ACL* DefaultDacl;
} TOKEN_DEFAULT_DACL, *PTOKEN_DEFAULT_DACL;

typedef struct _TOKEN_STATISTICS {
  LUID TokenId;
  LUID AuthenticationId;
  LARGE_INTEGER ExpirationTime;
  TOKEN_TYPE TokenType;
  SECURITY_IMPERSONATION_LEVEL ImpersonationLevel;
  DWORD DynamicCharged;
  DWORD DynamicAvailable;
  DWORD GroupCount;
  DWORD PrivilegeCount;
  LUID ModifiedId;
} TOKEN_STATISTICS, *PTOKEN_STATISTICS;

#ifdef __cplusplus
static_assert(sizeof(TOKEN_USER) == 16 && sizeof(TOKEN_OWNER) == 8, "the published layout");
static_assert(sizeof(TOKEN_PRIMARY_GROUP) == 8 && sizeof(TOKEN_DEFAULT_DACL) == 8, "the published layout");
static_assert(sizeof(TOKEN_TYPE) == 4 && sizeof(SECURITY_IMPERSONATION_LEVEL) == 4, "the published layout");
static_assert(sizeof(TOKEN_STATISTICS) == 56 && offsetof(TOKEN_STATISTICS, AuthenticationId) == 8 &&
                  offsetof(TOKEN_STATISTICS, TokenType) == 24 && offsetof(TOKEN_STATISTICS, ModifiedId) == 48,
              "the published layout");
#endif

#endif
