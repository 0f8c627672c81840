// Memory streams: integers high byte first, each in its own width, one behind the other.
#include <kelvane/ddr_stream.h>
#include <string.h>

namespace {

uint8_t big_endian(uint8_t value) { return value; }
uint16_t big_endian(uint16_t value) { return __builtin_bswap16(value); }
uint32_t big_endian(uint32_t value) { return __builtin_bswap32(value); }

// Converts an integer as the bit pattern Bits, which has its width.
template <class Bits, class Integer>
int convert(DDR* stream, Integer* value) {
  static_assert(sizeof(Bits) == sizeof(Integer));
  if (stream->op == DDR_FREE) return 1;
  if (static_cast<size_t>(stream->end - stream->next) < sizeof(Bits)) return 0;
  Bits bits;
  if (stream->op == DDR_ENCODE) {
    bits = big_endian(static_cast<Bits>(*value));
    memcpy(stream->next, &bits, sizeof bits);
  } else if (stream->op == DDR_DECODE) {
    memcpy(&bits, stream->next, sizeof bits);
    *value = static_cast<Integer>(big_endian(bits));
  } else {
    return 0;
  }
  stream->next += sizeof bits;
  return 1;
}

}  // namespace

void ddrmem_create(DDR* stream, void* buffer, int size, ddr_op op) {
  stream->buffer = static_cast<BYTE*>(buffer);
  stream->next = stream->buffer;
  stream->end = stream->buffer != nullptr && size > 0 ? stream->buffer + size : stream->buffer;
  stream->op = op;
}

int ddr_char(DDR* stream, char* value) { return convert<uint8_t>(stream, value); }
int ddr_u_char(DDR* stream, unsigned char* value) { return convert<uint8_t>(stream, value); }
int ddr_short(DDR* stream, short* value) { return convert<uint16_t>(stream, value); }
int ddr_u_short(DDR* stream, unsigned short* value) { return convert<uint16_t>(stream, value); }
int ddr_int(DDR* stream, int* value) { return convert<uint32_t>(stream, value); }
int ddr_u_int(DDR* stream, unsigned int* value) { return convert<uint32_t>(stream, value); }
int ddr_long(DDR* stream, LONG* value) { return convert<uint32_t>(stream, value); }
int ddr_u_long(DDR* stream, ULONG* value) { return convert<uint32_t>(stream, value); }
