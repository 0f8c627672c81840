// A program whose addresses are fixed: the linker gives the functions that it takes the address of a place in the
// program. Ends with the number of window procedures that are the same for the library.
#include "tests/thunks/window.h"

int main() {
  AdvInitMapping();
  int same = 0;
  for (const KvWindowProcedure each : kvtest::window_procedures()) {
    same += hmap_add(kvtest::window_of(16), nullptr) == each ? 1 : 0;
  }
  return same;
}
