/*
 * Security packages: which ones there are. There is one, "NTLM".
 *
 * Any thread may call these functions; none sets the last error.
 */
#ifndef KELVANE_SSPI_H
#define KELVANE_SSPI_H

#include "winnt.h"

#ifndef SEC_ENTRY
#define SEC_ENTRY
#endif

typedef LONG SECURITY_STATUS;
typedef CHAR SEC_CHAR;
typedef WCHAR SEC_WCHAR;

typedef struct _SecPkgInfoA {
  ULONG fCapabilities; /* SECPKG_FLAG_ bits */
  USHORT wVersion;
  USHORT wRPCID;
  ULONG cbMaxToken; /* bytes */
  SEC_CHAR* Name;
  SEC_CHAR* Comment;
} SecPkgInfoA, *PSecPkgInfoA;

typedef struct _SecPkgInfoW {
  ULONG fCapabilities;
  USHORT wVersion;
  USHORT wRPCID;
  ULONG cbMaxToken;
  SEC_WCHAR* Name;
  SEC_WCHAR* Comment;
} SecPkgInfoW, *PSecPkgInfoW;

#define SECPKG_FLAG_INTEGRITY 0x00000001u
#define SECPKG_FLAG_PRIVACY 0x00000002u
#define SECPKG_FLAG_TOKEN_ONLY 0x00000004u
#define SECPKG_FLAG_DATAGRAM 0x00000008u
#define SECPKG_FLAG_CONNECTION 0x00000010u
#define SECPKG_FLAG_MULTI_REQUIRED 0x00000020u
#define SECPKG_FLAG_CLIENT_ONLY 0x00000040u
#define RPC_C_AUTHN_WINNT 10
#define SEC_E_OK ((SECURITY_STATUS)0x00000000)

KV_BEGIN_C

/*
 * All packages: a count of 1 and one block with the record and its strings, which the caller releases with
 * FreeContextBuffer. Returns 0, or ERROR_NOT_ENOUGH_MEMORY with nothing stored.
 */
KV_EXPORT SECURITY_STATUS SEC_ENTRY EnumerateSecurityPackagesW(PULONG out_count, PSecPkgInfoW* out_packages);

/* Without function: reports (see KvStub in kelvane/report.h) and returns 0x80004001; no output is touched. */
KV_EXPORT SECURITY_STATUS SEC_ENTRY EnumerateSecurityPackagesA(PULONG out_count, PSecPkgInfoA* out_packages);

/* Releases what EnumerateSecurityPackagesW gave; null is borne. Returns 0. */
KV_EXPORT SECURITY_STATUS SEC_ENTRY FreeContextBuffer(PVOID buffer);

KV_END_C

#if defined(UNICODE) || defined(_UNICODE)
typedef SecPkgInfoW SecPkgInfo;
typedef PSecPkgInfoW PSecPkgInfo;
#define EnumerateSecurityPackages EnumerateSecurityPackagesW
#else
typedef SecPkgInfoA SecPkgInfo;
typedef PSecPkgInfoA PSecPkgInfo;
#define EnumerateSecurityPackages EnumerateSecurityPackagesA
#endif

#ifdef __cplusplus
static_assert(sizeof(SecPkgInfoW) == 32 && offsetof(SecPkgInfoW, wRPCID) == 6, "the published layout");
static_assert(offsetof(SecPkgInfoW, cbMaxToken) == 8 && offsetof(SecPkgInfoW, Name) == 16, "the published layout");
static_assert(offsetof(SecPkgInfoW, Comment) == 24 && sizeof(SecPkgInfoA) == 32, "the published layout");
#endif

#endif
