// Any text is a frame or is not one; a frame is written so that it reads back equal.
#include <kelvane/frames.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/written.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) { return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Frame first(kvistrstream(reinterpret_cast<const char*>(data), size));
  if (first.get_key() == nullptr) return 0;
  const std::string text = written(first);
  const Frame second(kvistrstream(text.c_str()));
  if (written(second) != text) __builtin_trap();
  return 0;
}
