// The converters as the exported ones are made of them: convert_X for each type X of the two lists. Inside a
// record they are inlined down to the calls of the base library's primitives.
#pragma once

#include <kelvane/ddr.h>

inline namespace kelvane {

#define KV_DDR_SCALAR(type, primitive) \
  inline int convert_##type(DDR* stream, type* value) { return ddr_##primitive(stream, value) != 0 ? 1 : 0; }
#define KV_DDR_ALIAS(type, converter) \
  inline int convert_##type(DDR* stream, type* value) { return convert_##converter(stream, value); }
#include "ddr/scalars.def"
#undef KV_DDR_SCALAR
#undef KV_DDR_ALIAS

// What the placeholder of a pointer is on the stream carries no meaning.
inline int convert_placeholder(DDR* stream) {
  LONG placeholder = 0;
  return ddr_long(stream, &placeholder) != 0 ? 1 : 0;
}

// A byte as ddr_vector wants to convert it.
inline int convert_byte_item(DDR* stream, void* item) { return convert_BYTE(stream, static_cast<BYTE*>(item)); }

template <size_t count>
int convert_bytes(DDR* stream, BYTE (&bytes)[count]) {
  return ddr_vector(stream, bytes, count, sizeof(BYTE), convert_byte_item) != 0 ? 1 : 0;
}

#define KV_DDR_RECORD(type)                              \
  inline int convert_##type(DDR* stream, type* record) { \
    return
#define KV_DDR_FIELD(field, converter) convert_##converter(stream, &record->field) != 0 &&
#define KV_DDR_BYTES(field) convert_bytes(stream, record->field) != 0 &&
// QUIRK format-gap-transferred: the gap of a FORMATETC crosses the stream and is overwritten on decoding.
#define KV_DDR_GAP(field, converter) convert_##converter(stream, &record->field + 1) != 0 &&
#define KV_DDR_POINTER(field) convert_placeholder(stream) != 0 &&
#define KV_DDR_END(type) \
  true;                  \
  }
#include "ddr/records.def"
#undef KV_DDR_RECORD
#undef KV_DDR_FIELD
#undef KV_DDR_BYTES
#undef KV_DDR_GAP
#undef KV_DDR_POINTER
#undef KV_DDR_END

}  // namespace kelvane
