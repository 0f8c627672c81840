// The exported record converters, one for each record of the list.
#include "ddr/convert.h"

#define KV_DDR_RECORD(type) \
  int ddr_##type(DDR* stream, type* record) { return convert_##type(stream, record); }
#define KV_DDR_FIELD(field, converter)
#define KV_DDR_BYTES(field)
#define KV_DDR_GAP(field, converter)
#define KV_DDR_POINTER(field)
#define KV_DDR_END(type)
#include "ddr/records.def"
#undef KV_DDR_RECORD
#undef KV_DDR_FIELD
#undef KV_DDR_BYTES
#undef KV_DDR_GAP
#undef KV_DDR_POINTER
#undef KV_DDR_END
