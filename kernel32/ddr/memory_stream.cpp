// Memory streams: integers high byte first, each in its own width, one behind the other.
#include <kelvane/ddr_stream.h>
#include <string.h>

namespace {

uint8_t big_endian(uint8_t value) { return value; }
uint16_t big_endian(uint16_t value) { return __builtin_bswap16(value); }
uint32_t big_endian(uint32_t value) { return __builtin_bswap32(value); }

// Moves the stream over the next size bytes, which stand at *at; false when there are not as many.
inline bool take(DDR* stream, size_t size, BYTE** at) {
  *at = stream->next;
  if (reinterpret_cast<uintptr_t>(*at) + size > reinterpret_cast<uintptr_t>(stream->end)) return false;
  stream->next = *at + size;
  return true;
}

// Every operation but encoding.
template <class Bits, class Integer>
__attribute__((noinline)) int decode_or_free(DDR* stream, Integer* value) {
  if (stream->op != DDR_DECODE) return stream->op == DDR_FREE ? 1 : 0;
  BYTE* at;
  if (!take(stream, sizeof(Bits), &at)) return 0;
  Bits bits;
  memcpy(&bits, at, sizeof bits);
  *value = static_cast<Integer>(big_endian(bits));
  return 1;
}

// Converts an integer as the bit pattern Bits, which has its width. Encoding is short: a record is one call for each of
// its fields.
template <class Bits, class Integer>
int convert(DDR* stream, Integer* value) {
  static_assert(sizeof(Bits) == sizeof(Integer));
  if (stream->op != DDR_ENCODE) return decode_or_free<Bits>(stream, value);
  BYTE* at;
  if (!take(stream, sizeof(Bits), &at)) return 0;
  const Bits bits = big_endian(static_cast<Bits>(*value));
  memcpy(at, &bits, sizeof bits);
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
