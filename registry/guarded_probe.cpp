// The guarded read. Nothing here has a destructor: a fault leaves by a jump, and the answer changes only behind
// the region.

#include "registry/guarded_probe.h"

#include <kelvane/seh.h>

inline namespace kelvane {
namespace {

// Reads outside the caller's object, on purpose.
__attribute__((no_sanitize("address", "thread"), noinline)) unsigned char read_outside(const unsigned char* at) {
  return *static_cast<const volatile unsigned char*>(at);
}

}  // namespace

bool is_zero_behind(const unsigned char* end) {
  volatile bool zero = false;
  SehFrame frame;
  if (sigsetjmp(frame.context, 0) == 0) {
    SehBeginTry3(&frame);
    const unsigned char byte = read_outside(end);
    SehEndTry(&frame);
    zero = byte == 0;
  } else if (frame.must_complete != 0) {
    SehExceptReturn2(1);
  }
  return zero;
}

}  // namespace kelvane
