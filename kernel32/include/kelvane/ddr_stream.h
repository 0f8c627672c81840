/*
 * Memory streams of the machine-independent data representation, and the primitives that convert to and from
 * them.
 *
 * On the stream an item has its natural width, high byte first, with no padding before, between or behind items.
 * One routine works in all directions: the stream carries the operation. Encoding reads the item and writes the
 * stream, decoding reads the stream and writes the item, freeing succeeds and touches neither.
 *
 * Every converter returns 1, or 0 when the item does not fit into what is left of the buffer (encoding), when
 * fewer bytes are left than it needs (decoding), or when the operation is none of the three; stream and item are
 * then as they were. No byte outside the buffer is read or written. A stream belongs to one thread at a time;
 * different streams are independent. No last error is set.
 */
#ifndef KELVANE_DDR_STREAM_H
#define KELVANE_DDR_STREAM_H

#include <windef.h>

KV_BEGIN_C

typedef enum ddr_op {
  DDR_ENCODE = 0, /* items to the stream */
  DDR_DECODE = 1, /* the stream to items */
  DDR_FREE = 2    /* nothing is converted */
} ddr_op;

/* A stream over a buffer, which stays its maker's. next - buffer bytes are written or read so far. */
typedef struct DDR {
  BYTE* buffer;
  BYTE* next;
  BYTE* end;
  ddr_op op;
} DDR;

/* Converts one item: the form that ddr_vector and the frames take. */
typedef int (*ddr_procedure)(DDR* stream, void* item);

/*
 * Opens a stream of an operation on a buffer of size bytes. A null buffer or a negative size is a buffer without
 * bytes. Nothing is allocated, and nothing is to be closed.
 */
KV_EXPORT void ddrmem_create(DDR* stream, void* buffer, int size, ddr_op op);

/* Integers of 8, 16 and 32 bits. */
KV_EXPORT int ddr_char(DDR* stream, char* value);
KV_EXPORT int ddr_u_char(DDR* stream, unsigned char* value);
KV_EXPORT int ddr_short(DDR* stream, short* value);
KV_EXPORT int ddr_u_short(DDR* stream, unsigned short* value);
KV_EXPORT int ddr_int(DDR* stream, int* value);
KV_EXPORT int ddr_u_int(DDR* stream, unsigned int* value);
KV_EXPORT int ddr_long(DDR* stream, LONG* value);
KV_EXPORT int ddr_u_long(DDR* stream, ULONG* value);

/*
 * Applies the procedure to count items, size bytes apart, the first one at items. Returns 1, or 0 at the first
 * item whose procedure answers 0; the items behind it are left alone, those before it stay converted.
 */
KV_EXPORT int ddr_vector(DDR* stream, void* items, unsigned int count, unsigned int size, ddr_procedure procedure);

KV_END_C

#endif
