// Frames around a memory stream: opened when they are made, their buffer released at the end.
#include <kelvane/ddr.h>

inline namespace kelvane {
namespace {

// Converters are declared with their item's own type and called through the common one.
#if defined(__clang__)
__attribute__((no_sanitize("function")))
#endif
void convert_items(DDR* stream, void* items, ddr_procedure procedure, int count, int stride) {
  BYTE* item = static_cast<BYTE*>(items);
  for (int index = 0; index < count; ++index) procedure(stream, item + static_cast<ptrdiff_t>(index) * stride);
}

}  // namespace

Basic_Ddr::Basic_Ddr(int size, ddr_op op) : ownedBuffer(new BYTE[size > 0 ? static_cast<size_t>(size) : 0]()) {
  ddrmem_create(&stream, ownedBuffer, size, op);
}

Basic_Ddr::Basic_Ddr(void* buffer, int size, ddr_op op) : ownedBuffer(nullptr) {
  ddrmem_create(&stream, buffer, size, op);
}

Basic_Ddr::~Basic_Ddr() { delete[] ownedBuffer; }

To_Ddr::To_Ddr(int size, const void* items, ddr_procedure procedure, int count, int stride)
    : Basic_Ddr(size, DDR_ENCODE) {
  convert_items(&stream, const_cast<void*>(items), procedure, count, stride);
}

To_Ddr::~To_Ddr() = default;

From_Ddr::~From_Ddr() { convert_items(&stream, item, procedure, count, stride); }

}  // namespace kelvane

void inmemory_ddr(ddr_op op, int size, const void* buffer, void* items, ddr_procedure procedure, int count,
                  int stride) {
  Basic_Ddr frame(const_cast<void*>(buffer), size, op);
  convert_items(&frame.stream, items, procedure, count, stride);
}
