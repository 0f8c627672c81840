// Multi-byte text to WinChars. The run of ASCII at the start is widened directly when the code page leaves
// ASCII alone; the rest goes through the code page.

#include "registry/win_char.h"

#include <kelvane/text.h>

#include <atomic>

inline namespace kelvane {
namespace {

constexpr std::size_t inline_units = 4095 / sizeof(WinChar);

void write_units(const KvUnicodeStringWithLength& wide, WinChar* out) {
  for (int i = 0; i < wide.length(); ++i) out[i] = to_win_char(wide.text()[i]);
}

// The text whose first `prefix` bytes are ASCII, the rest through the code page. Returns the WinChars made.
std::size_t convert_rest(const char* text, std::size_t length, std::size_t prefix, Buffer<WinChar>& out) {
  const KvUnicodeStringWithLength rest(text + prefix, static_cast<int>(length - prefix));
  const std::size_t count = prefix + static_cast<std::size_t>(rest.length());
  out.room(count);
  widen_ascii_run(text, prefix, out.data);
  write_units(rest, out.data + prefix);
  return count;
}

}  // namespace

bool ascii_is_kept() {
  static std::atomic<int> kept{-1};
  int answer = kept.load(std::memory_order_relaxed);
  if (answer < 0) [[unlikely]] {
    answer = KvCodePageKeepsAscii();
    kept.store(answer, std::memory_order_relaxed);
  }
  return answer != 0;
}

std::size_t convert_text(const char* text, std::size_t length, Buffer<WinChar>& out) {
  if (!ascii_is_kept()) return convert_rest(text, length, 0, out);
  if (length > inline_units) return convert_rest(text, length, ascii_run(text, length), out);
  const std::size_t prefix = widen_ascii_run(text, length, out.room(length));
  return prefix == length ? length : convert_rest(text, length, prefix, out);
}

void convert_name(const char* text, Buffer<WinChar>& out) {
  if (ascii_is_kept() && widen_terminated_ascii(text, inline_units, out.room(inline_units))) return;
  convert_text(text, std::strlen(text) + 1, out);
}

void char_to_saveable(const char* text, Buffer<WinChar>& out, int length, unsigned* out_count) {
  std::size_t count = 0;
  if (text == nullptr) {
    out.release();
  } else {
    const std::size_t size = length == -1 ? std::strlen(text) + 1 : static_cast<std::size_t>(length < 0 ? 0 : length);
    count = convert_text(text, size, out);
  }
  if (out_count != nullptr) *out_count = static_cast<unsigned>(count);
}

WinVal::WinVal(unsigned type, const unsigned char* value, unsigned size) : data(value), length(size) {
  if (!is_string_type(type)) return;
  char_to_saveable(reinterpret_cast<const char*>(value), buffer, static_cast<int>(size), &length);
  length *= static_cast<unsigned>(sizeof(WinChar));
  data = reinterpret_cast<const unsigned char*>(buffer.data);
}

}  // namespace kelvane
