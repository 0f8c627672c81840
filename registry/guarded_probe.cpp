// The guarded read. A byte in the page of the readable byte before it cannot fault and is read directly; only
// the first byte of the next page needs the exception frame.

#include "registry/guarded_probe.h"

#include <kelvane/seh.h>

#include <cstdint>

inline namespace kelvane {
namespace {

constexpr std::uintptr_t page_size = 4096;

// Reads outside the caller's object, on purpose.
__attribute__((no_sanitize("address", "thread"), noinline)) unsigned char read_outside(const unsigned char* at) {
  return *static_cast<const volatile unsigned char*>(at);
}

// Nothing here has a destructor: a fault leaves by a jump. The answer changes behind the region only.
bool is_zero_guarded(const unsigned char* at) {
  volatile bool zero = false;
  SehFrame frame;
  if (sigsetjmp(frame.context, 0) == 0) {
    SehBeginTry3(&frame);
    const unsigned char byte = read_outside(at);
    SehEndTry(&frame);
    zero = byte == 0;
  } else if (frame.must_complete != 0) {
    SehExceptReturn2(1);
  }
  return zero;
}

}  // namespace

bool is_zero_behind(const unsigned char* end) {
  const bool starts_page = reinterpret_cast<std::uintptr_t>(end) % page_size == 0;
  return starts_page ? is_zero_guarded(end) : read_outside(end) == 0;
}

}  // namespace kelvane
