// Arrays of items.
#include <kelvane/ddr_stream.h>

// The procedure may be a converter that is declared with its item's own type.
#if defined(__clang__)
__attribute__((no_sanitize("function")))
#endif
int ddr_vector(DDR* stream, void* items, unsigned int count, unsigned int size, ddr_procedure procedure) {
  BYTE* item = static_cast<BYTE*>(items);
  for (unsigned int index = 0; index < count; ++index, item += size) {
    if (procedure(stream, item) == 0) return 0;
  }
  return 1;
}
