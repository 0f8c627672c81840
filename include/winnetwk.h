/*
 * Network connections: there are none. Each function prints "Called " and its own name as a line on standard output,
 * returns WN_NOT_SUPPORTED (50), and touches no output. Any thread may call them.
 */
#ifndef KELVANE_WINNETWK_H
#define KELVANE_WINNETWK_H

#include "windef.h"

#define WN_SUCCESS 0
#define WN_NOT_SUPPORTED 50
#define UNIVERSAL_NAME_INFO_LEVEL 0x00000001u
#define REMOTE_NAME_INFO_LEVEL 0x00000002u

typedef struct _UNIVERSAL_NAME_INFOA {
  LPSTR lpUniversalName;
} UNIVERSAL_NAME_INFOA, *LPUNIVERSAL_NAME_INFOA;

typedef struct _REMOTE_NAME_INFOA {
  LPSTR lpUniversalName;
  LPSTR lpConnectionName;
  LPSTR lpRemainingPath;
} REMOTE_NAME_INFOA, *LPREMOTE_NAME_INFOA;

KV_BEGIN_C

KV_EXPORT DWORD APIENTRY WNetGetConnectionA(LPCSTR local_name, LPSTR remote_name, LPDWORD size);
KV_EXPORT DWORD APIENTRY WNetGetUniversalNameA(LPCSTR local_path, DWORD info_level, LPVOID buffer, LPDWORD size);

KV_END_C

#if !defined(UNICODE) && !defined(_UNICODE)
#define WNetGetConnection WNetGetConnectionA
#define WNetGetUniversalName WNetGetUniversalNameA
typedef UNIVERSAL_NAME_INFOA UNIVERSAL_NAME_INFO, *LPUNIVERSAL_NAME_INFO;
typedef REMOTE_NAME_INFOA REMOTE_NAME_INFO, *LPREMOTE_NAME_INFO;
#endif

#ifdef __cplusplus
static_assert(sizeof(UNIVERSAL_NAME_INFOA) == 8 && sizeof(REMOTE_NAME_INFOA) == 24, "the published layout");
#endif

#endif
