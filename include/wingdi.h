/*
 * Headers of bitmaps and metafiles, in their natural alignment: BITMAPFILEHEADER and METAHEADER are not packed
 * as they are in files.
 */
#ifndef KELVANE_WINGDI_H
#define KELVANE_WINGDI_H

#include "windef.h"

typedef struct tagBITMAPFILEHEADER {
  WORD bfType;
  DWORD bfSize;
  WORD bfReserved1;
  WORD bfReserved2;
  DWORD bfOffBits;
} BITMAPFILEHEADER, *LPBITMAPFILEHEADER, *PBITMAPFILEHEADER;

typedef struct tagBITMAPCOREHEADER {
  DWORD bcSize;
  WORD bcWidth;
  WORD bcHeight;
  WORD bcPlanes;
  WORD bcBitCount;
} BITMAPCOREHEADER, *LPBITMAPCOREHEADER, *PBITMAPCOREHEADER;

typedef struct tagBITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
} BITMAPINFOHEADER, *LPBITMAPINFOHEADER, *PBITMAPINFOHEADER;

typedef struct tagMETAHEADER {
  WORD mtType;
  WORD mtHeaderSize;
  WORD mtVersion;
  DWORD mtSize;
  WORD mtNoObjects;
  DWORD mtMaxRecord;
  WORD mtNoParameters;
} METAHEADER, *PMETAHEADER, *LPMETAHEADER;

typedef struct tagENHMETAHEADER {
  DWORD iType;
  DWORD nSize;
  RECTL rclBounds;
  RECTL rclFrame;
  DWORD dSignature;
  DWORD nVersion;
  DWORD nBytes;
  DWORD nRecords;
  WORD nHandles;
  WORD sReserved;
  DWORD nDescription;
  DWORD offDescription;
  DWORD nPalEntries;
  SIZEL szlDevice;
  SIZEL szlMillimeters;
} ENHMETAHEADER, *PENHMETAHEADER, *LPENHMETAHEADER;

#ifdef __cplusplus
static_assert(sizeof(BITMAPFILEHEADER) == 16 && offsetof(BITMAPFILEHEADER, bfSize) == 4 &&
                  offsetof(BITMAPFILEHEADER, bfReserved1) == 8 && offsetof(BITMAPFILEHEADER, bfOffBits) == 12,
              "natural alignment");
static_assert(sizeof(BITMAPCOREHEADER) == 12 && offsetof(BITMAPCOREHEADER, bcBitCount) == 10, "the published layout");
static_assert(sizeof(BITMAPINFOHEADER) == 40 && offsetof(BITMAPINFOHEADER, biCompression) == 16,
              "the published layout");
static_assert(sizeof(METAHEADER) == 24 && offsetof(METAHEADER, mtSize) == 8 && offsetof(METAHEADER, mtMaxRecord) == 16,
              "natural alignment");
static_assert(sizeof(ENHMETAHEADER) == 88 && offsetof(ENHMETAHEADER, nHandles) == 56 &&
                  offsetof(ENHMETAHEADER, szlMillimeters) == 80,
              "the published layout");
#endif

#endif
