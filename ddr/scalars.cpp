// The exported scalar converters, from their list, and those that are not a plain primitive.
#include "ddr/convert.h"

#define KV_DDR_SCALAR(type, primitive) \
  int ddr_##type(DDR* stream, type* value) { return convert_##type(stream, value); }
#define KV_DDR_ALIAS(type, converter) KV_DDR_SCALAR(type, converter)
#include "ddr/scalars.def"
#undef KV_DDR_SCALAR
#undef KV_DDR_ALIAS

int ddr_CLSID(DDR* stream, CLSID* value) { return convert_GUID(stream, value); }

int ddr_IID(DDR* stream, IID* value) { return convert_GUID(stream, value); }

int ddr_WCHAR(DDR* stream, WCHAR* value) {
  auto unit = static_cast<WORD>(*value);
  if (ddr_u_short(stream, &unit) == 0) return 0;
  // QUIRK encode-stores-back: encoding and freeing write the item, too, and take its upper 16 bits away.
  *value = static_cast<WCHAR>(unit);
  return 1;
}

int ddr_WCHAR2char(DDR* stream, char* value) {
  // QUIRK narrow-sign-extended: a narrow character above 0x7F is sent with its high byte set.
  auto unit = static_cast<WORD>(static_cast<signed char>(*value));
  if (ddr_u_short(stream, &unit) == 0) return 0;
  *value = static_cast<char>(unit & 0xFF);
  return 1;
}

int ddr_Unbound_Pointer(DDR* stream, void*) { return convert_placeholder(stream); }
