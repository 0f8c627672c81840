// Any bytes, as text of the code page, become wide characters and the same bytes again.
#include <kelvane/text.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const char* text = reinterpret_cast<const char*>(data);
  const KvUnicodeStringWithLength wide(text, static_cast<int>(size));
  const KvAnsiStringWithLength back(wide.text(), wide.length());
  if (size == 0) return 0;
  if (back.size() != static_cast<int>(size) || std::memcmp(back.text(), text, size) != 0) __builtin_trap();
  return 0;
}
