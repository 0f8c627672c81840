/* Records of the object interfaces: the description of a format in which data is exchanged. */
#ifndef KELVANE_OBJIDL_H
#define KELVANE_OBJIDL_H

#include "wtypes.h"

typedef struct tagDVTARGETDEVICE {
  DWORD tdSize; /* of the whole record, in bytes */
  WORD tdDriverNameOffset;
  WORD tdDeviceNameOffset;
  WORD tdPortNameOffset;
  WORD tdExtDevmodeOffset;
  BYTE tdData[1];
} DVTARGETDEVICE;

/* A gap of 16 bits follows cfFormat before the alignment of the pointer. */
typedef struct tagFORMATETC {
  CLIPFORMAT cfFormat;
  DVTARGETDEVICE* ptd;
  DWORD dwAspect;
  LONG lindex;
  DWORD tymed;
} FORMATETC, *LPFORMATETC;

#ifdef __cplusplus
static_assert(sizeof(FORMATETC) == 32 && offsetof(FORMATETC, ptd) == 8 && offsetof(FORMATETC, dwAspect) == 16 &&
                  offsetof(FORMATETC, lindex) == 20 && offsetof(FORMATETC, tymed) == 24,
              "the published layout");
#endif

#endif
