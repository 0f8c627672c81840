/*
 * Data representation of Win32 types and records: converters, and the frames that open a memory stream around
 * them. The converters and inmemory_ddr are for C and C++, the frames for C++.
 *
 * Each converter takes the stream, whose operation says what is done, and the item: encode writes the item to the
 * stream, decode fills the item from it, free succeeds and changes nothing but for what ddr_WCHAR says. It returns
 * 1, or 0 when the stream runs out of room or data. A record's fields are converted in the order of the record; at
 * the first field that fails the converter returns 0, earlier fields stay converted and later ones are left alone.
 *
 * On the stream integers have their own width, high byte first, and nothing is padded: a record has the size that
 * its fields have together. Nothing is reported and no last error is set. Any thread may convert; a stream belongs
 * to one thread at a time.
 */
#ifndef KELVANE_DDR_H
#define KELVANE_DDR_H

#include <kelvane/ddr_stream.h>

#include "../guiddef.h"
#include "../objidl.h"
#include "../windef.h"
#include "../wingdi.h"
#include "../wtypes.h"

KV_BEGIN_C

/* Scalars of 8 bits, ... */
KV_EXPORT int ddr_CHAR(DDR* stream, CHAR* value);
KV_EXPORT int ddr_UCHAR(DDR* stream, UCHAR* value);
KV_EXPORT int ddr_BYTE(DDR* stream, BYTE* value);

/* ... 16 bits, ... */
KV_EXPORT int ddr_SHORT(DDR* stream, SHORT* value);
KV_EXPORT int ddr_USHORT(DDR* stream, USHORT* value);
KV_EXPORT int ddr_WORD(DDR* stream, WORD* value);
KV_EXPORT int ddr_CLIPFORMAT(DDR* stream, CLIPFORMAT* value);

/* ... 32 bits, ... */
KV_EXPORT int ddr_BOOL(DDR* stream, BOOL* value);
KV_EXPORT int ddr_DWORD(DDR* stream, DWORD* value);
KV_EXPORT int ddr_UINT(DDR* stream, UINT* value);
KV_EXPORT int ddr_COLORREF(DDR* stream, COLORREF* value);
KV_EXPORT int ddr_LONG(DDR* stream, LONG* value);
KV_EXPORT int ddr_SCODE(DDR* stream, SCODE* value);
KV_EXPORT int ddr_HRESULT(DDR* stream, HRESULT* value);
KV_EXPORT int ddr_ULONG(DDR* stream, ULONG* value);

/* ... and 128 bits. */
KV_EXPORT int ddr_CLSID(DDR* stream, CLSID* value);
KV_EXPORT int ddr_IID(DDR* stream, IID* value);

/*
 * A wide character, 32 bits in memory and 16 on the stream. In every direction, when it succeeds, the item becomes
 * what the stream has: encoding and freeing, too, take its upper 16 bits away. Never give it memory that may not be
 * written.
 */
KV_EXPORT int ddr_WCHAR(DDR* stream, WCHAR* value);

/*
 * A narrow character that is a wide one on the stream: a char is sign-extended to 16 bits, of which the low 8 come
 * back. 0xE9 is sent as 0xFFE9. The item is written in every direction.
 */
KV_EXPORT int ddr_WCHAR2char(DDR* stream, char* value);

/*
 * A pointer that is not transferred: 32 bits of the stream, 0 when encoding, passed over when decoding. The pointer
 * at field is neither read nor written.
 */
KV_EXPORT int ddr_Unbound_Pointer(DDR* stream, void* field);

/*
 * Records. Gaps of alignment are not transferred, but for the 16 bits behind cfFormat in a FORMATETC, which are
 * also decoded; its ptd is an unbound pointer.
 */
KV_EXPORT int ddr_GUID(DDR* stream, GUID* value);
KV_EXPORT int ddr_FILETIME(DDR* stream, FILETIME* value);
KV_EXPORT int ddr_RECTL(DDR* stream, RECTL* value);
KV_EXPORT int ddr_SIZEL(DDR* stream, SIZEL* value);
KV_EXPORT int ddr_POINTS(DDR* stream, POINTS* value);
KV_EXPORT int ddr_POINT(DDR* stream, POINT* value);
KV_EXPORT int ddr_FORMATETC(DDR* stream, FORMATETC* value);
KV_EXPORT int ddr_BITMAPFILEHEADER(DDR* stream, BITMAPFILEHEADER* value);
KV_EXPORT int ddr_BITMAPCOREHEADER(DDR* stream, BITMAPCOREHEADER* value);
KV_EXPORT int ddr_BITMAPINFOHEADER(DDR* stream, BITMAPINFOHEADER* value);
KV_EXPORT int ddr_METAHEADER(DDR* stream, METAHEADER* value);
KV_EXPORT int ddr_ENHMETAHEADER(DDR* stream, ENHMETAHEADER* value);

/*
 * Applies a converter to count items, stride bytes apart, through a stream of an operation on the caller's buffer
 * of size bytes. Decoding leaves the buffer alone; a count of 0 or less converts nothing. The converters' results
 * are not looked at: who needs to know calls the converter himself.
 */
KV_EXPORT void inmemory_ddr(ddr_op op, int size, const void* buffer, void* items, ddr_procedure procedure, int count,
                            int stride);

KV_END_C

#ifdef __cplusplus

#include <stdlib.h>

#include <new>

inline namespace kelvane {

/* A memory stream for the life of an object. */
class KV_EXPORT Basic_Ddr {
 public:
  /* On a zeroed buffer of its own of size bytes (none for a negative size). Throws std::bad_alloc. */
  Basic_Ddr(int size, ddr_op op);
  /* On the caller's buffer, which must live as long as the object. */
  Basic_Ddr(void* buffer, int size, ddr_op op);
  virtual ~Basic_Ddr();
  Basic_Ddr(const Basic_Ddr&) = delete;
  Basic_Ddr& operator=(const Basic_Ddr&) = delete;

  /* Frames come from the system's heap, whichever library makes or deletes them. */
  static void* operator new(size_t size) {
    void* block = malloc(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
  }
  static void operator delete(void* block) { free(block); }

  DDR stream;
  BYTE* ownedBuffer; /* null on a buffer of the caller's */
};

/* Encodes items when it is made. */
class KV_EXPORT To_Ddr : public Basic_Ddr {
 public:
  /*
   * Applies the converter to count items (none for a count of 0 or less), stride bytes apart, into a buffer of size
   * bytes of its own. The converters' results are not looked at: items that do not fit are cut off. The items are
   * only read, except by the character converters above.
   */
  To_Ddr(int size, const void* items, ddr_procedure procedure, int count, int stride);
  ~To_Ddr() override;
};

/*
 * Decodes items when it ends: applies the procedure to count items, stride bytes apart, the first one at item,
 * through the stream in whatever operation it is set to. Whoever makes one sets the four fields.
 */
class KV_EXPORT From_Ddr : public Basic_Ddr {
 public:
  From_Ddr(void* buffer, int size, ddr_op op = DDR_DECODE)
      : Basic_Ddr(buffer, size, op), count(0), stride(0), item(nullptr), procedure(nullptr) {}
  ~From_Ddr() override;

  int count;
  int stride; /* bytes */
  void* item;
  ddr_procedure procedure;
};

}  // namespace kelvane

#endif

#endif
