// Encoding an ENHMETAHEADER against its floor, the system's XDR: the same record with the same fields in the same
// order into a memory stream that is opened anew for each. The goal is half of XDR's time.
#include <benchmark/benchmark.h>
#include <kelvane/ddr.h>
#include <rpc/xdr.h>

namespace {

const ENHMETAHEADER header = {1, 108, {1, 2, 3, 4}, {-1, -2, -3, -4}, 0x464D4520, 0x00010000, 0x00000200, 5, 6, 7,
                              8, 9,   10,           {1024, 768},      {320, 240}};

bool_t xdr_rectangle(XDR* stream, RECTL* rectangle) {
  return xdr_int(stream, &rectangle->left) && xdr_int(stream, &rectangle->top) && xdr_int(stream, &rectangle->right) &&
         xdr_int(stream, &rectangle->bottom);
}

bool_t xdr_size(XDR* stream, SIZEL* size) { return xdr_int(stream, &size->cx) && xdr_int(stream, &size->cy); }

bool_t xdr_header(XDR* stream, ENHMETAHEADER* record) {
  return xdr_u_int(stream, &record->iType) && xdr_u_int(stream, &record->nSize) &&
         xdr_rectangle(stream, &record->rclBounds) && xdr_rectangle(stream, &record->rclFrame) &&
         xdr_u_int(stream, &record->dSignature) && xdr_u_int(stream, &record->nVersion) &&
         xdr_u_int(stream, &record->nBytes) && xdr_u_int(stream, &record->nRecords) &&
         xdr_u_short(stream, &record->nHandles) && xdr_u_short(stream, &record->sReserved) &&
         xdr_u_int(stream, &record->nDescription) && xdr_u_int(stream, &record->offDescription) &&
         xdr_u_int(stream, &record->nPalEntries) && xdr_size(stream, &record->szlDevice) &&
         xdr_size(stream, &record->szlMillimeters);
}

void encode_with_ddr(benchmark::State& state) {
  char buffer[256];
  ENHMETAHEADER record = header;
  for (auto _ : state) {
    DDR stream;
    ddrmem_create(&stream, buffer, sizeof buffer, DDR_ENCODE);
    benchmark::DoNotOptimize(&record);
    benchmark::DoNotOptimize(ddr_ENHMETAHEADER(&stream, &record));
    benchmark::ClobberMemory();
  }
}

void encode_with_xdr(benchmark::State& state) {
  char buffer[256];
  ENHMETAHEADER record = header;
  for (auto _ : state) {
    XDR stream;
    xdrmem_create(&stream, buffer, sizeof buffer, XDR_ENCODE);
    benchmark::DoNotOptimize(&record);
    benchmark::DoNotOptimize(xdr_header(&stream, &record));
    benchmark::ClobberMemory();
  }
}

BENCHMARK(encode_with_ddr)->Name("ddr/encode/ENHMETAHEADER");
BENCHMARK(encode_with_xdr)->Name("ddr/xdr/ENHMETAHEADER");

}  // namespace
