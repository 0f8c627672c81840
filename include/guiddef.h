/* Globally unique identifiers, and their roles as interface and class identifiers. */
#ifndef KELVANE_GUIDDEF_H
#define KELVANE_GUIDDEF_H

#include "windef.h"

typedef struct _GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
} GUID, *LPGUID, IID, *LPIID, CLSID, *LPCLSID;

#ifdef __cplusplus
static_assert(sizeof(GUID) == 16 && offsetof(GUID, Data4) == 8, "the published layout");
#endif

#endif
