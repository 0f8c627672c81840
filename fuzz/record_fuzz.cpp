// Every record from any bytes: what is decoded is encoded, decoded and encoded again with the same result, in a
// buffer of exactly the bytes that were read.
#include <kelvane/ddr.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<BYTE>;

// Decodes from the start of the bytes; the number of bytes that were taken.
template <class Record>
std::size_t decode(int (*converter)(DDR*, Record*), Bytes bytes, Record* record) {
  DDR stream;
  ddrmem_create(&stream, bytes.data(), static_cast<int>(bytes.size()), DDR_DECODE);
  converter(&stream, record);
  return static_cast<std::size_t>(stream.next - stream.buffer);
}

// What the converter writes into a buffer of room bytes, of which it must not leave any when it succeeds.
template <class Record>
Bytes encode(int (*converter)(DDR*, Record*), Record record, std::size_t room) {
  Bytes bytes(room);
  DDR stream;
  ddrmem_create(&stream, bytes.data(), static_cast<int>(room), DDR_ENCODE);
  if (converter(&stream, &record) == 1 && stream.next != stream.end) __builtin_trap();
  return bytes;
}

template <class Record>
void round_trip(int (*converter)(DDR*, Record*), const Bytes& bytes) {
  Record first;
  Record second;
  std::memset(static_cast<void*>(&first), 0xAA, sizeof first);
  std::memset(static_cast<void*>(&second), 0xAA, sizeof second);
  const std::size_t taken = decode(converter, bytes, &first);
  const Bytes once = encode(converter, first, taken);
  if (decode(converter, once, &second) != taken) __builtin_trap();
  if (std::memcmp(&first, &second, sizeof first) != 0) __builtin_trap();
  if (encode(converter, second, taken) != once) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes bytes(data, data + size);
#define KV_DDR_SCALAR(type, primitive) round_trip<type>(ddr_##type, bytes);
#define KV_DDR_ALIAS(type, converter) round_trip<type>(ddr_##type, bytes);
#include "ddr/scalars.def"
#define KV_DDR_RECORD(type) round_trip<type>(ddr_##type, bytes);
#define KV_DDR_FIELD(field, converter)
#define KV_DDR_BYTES(field)
#define KV_DDR_GAP(field, converter)
#define KV_DDR_POINTER(field)
#define KV_DDR_END(type)
#include "ddr/records.def"
  round_trip<CLSID>(ddr_CLSID, bytes);
  round_trip<IID>(ddr_IID, bytes);
  round_trip<WCHAR>(ddr_WCHAR, bytes);
  round_trip<char>(ddr_WCHAR2char, bytes);
  return 0;
}
