// Any text is a list or is not one; a list is written so that it reads back equal. What follows the text keeps
// the stream from its end, so that reports are made, too.
#include <kelvane/frames.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/written.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) { return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1; }

namespace {

Sequence* list_of(const std::string& text) {
  kvistrstream in(text.data(), text.size());
  return read_list(in);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Sequence* const first = list_of(std::string(reinterpret_cast<const char*>(data), size) + std::string(8192, '\n'));
  if (first == nullptr) return 0;
  const std::string text = written(*first);
  Sequence* const second = list_of(text);
  if (second == nullptr || written(*second) != text) __builtin_trap();
  first->delete_tree();
  second->delete_tree();
  return 0;
}
