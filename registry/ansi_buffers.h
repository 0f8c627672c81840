// Text and values on their way back from the implementation to callers of the ANSI functions.
#pragma once

#include <kelvane/registry_table.h>

#include <winerror.h>

#include <cstddef>
#include <cstring>

#include "registry/win_char.h"

inline namespace kelvane {

// What the implementation writes into in place of a caller's char buffer, and the caller's size rule on the
// way back. Each char of the caller's room gets one WinChar.
class WinBuffer {
 public:
  // dest and pcount are the caller's and may be null. in_win_chars tells whether the implementation counts
  // WinChars (names) or bytes (values). initial_count replaces the caller's count unless it is -1.
  WinBuffer(char* dest, unsigned* pcount, int in_win_chars, int initial_count);
  WinBuffer(const WinBuffer&) = delete;
  WinBuffer& operator=(const WinBuffer&) = delete;

  // Makes room for what the implementation has told in count.
  void extend();

  // The text as multi-byte text into dest, its length into *pcount: for a value with the terminator, for a
  // name without. 234 when dest is given and has no room; it is untouched then. What the implementation has told
  // beyond its room counts as zeros: a name that left none for its terminator does not fit.
  DWORD saveable_to_char(char* dest, unsigned* pcount, int is_value);

  // A value of any type. 234 as above.
  DWORD return_as_value(unsigned char* dest, unsigned* pcount, unsigned type);

  // A name. One that does not fit shows only in the count.
  void return_as_string(char* dest, unsigned* pcount);

  WinChar* win_chars() { return buffer.data; }
  unsigned char* bytes() { return reinterpret_cast<unsigned char*>(buffer.data); }
  bool has_data() const { return buffer.data != nullptr; }

  Buffer<WinChar> buffer;
  unsigned* countPointer;  // null, or count's address
  unsigned count;          // what the implementation reads and writes
  int inWinChars;
  std::size_t offered = 0;  // WinChars of room; nothing else is ever brought back

 private:
  std::size_t units() const { return inWinChars != 0 ? count : count / sizeof(WinChar); }
};

// Every query passes these two: they stand here so that a front can take them in.

inline WinBuffer::WinBuffer(char* dest, unsigned* pcount, int in_win_chars, int initial_count)
    : countPointer(pcount != nullptr ? &count : nullptr), count(0), inWinChars(in_win_chars) {
  constexpr int caller_decides = -1;
  if (pcount == nullptr || (dest != nullptr && *pcount == 0)) {
    offered = dest != nullptr ? 1 : 0;
    if (dest != nullptr) buffer.zeroed_room(1);
    return;
  }
  if (dest == nullptr && initial_count == caller_decides) return;
  count = initial_count != caller_decides ? static_cast<unsigned>(initial_count) : *pcount;
  offered = count;
  buffer.zeroed_room(count);
  if (inWinChars == 0) count *= static_cast<unsigned>(sizeof(WinChar));
}

inline DWORD WinBuffer::return_as_value(unsigned char* dest, unsigned* pcount, unsigned type) {
  if (pcount == nullptr) return ERROR_SUCCESS;
  if (is_string_type(type)) return saveable_to_char(reinterpret_cast<char*>(dest), pcount, 1);
  const unsigned size = inWinChars != 0 ? count * static_cast<unsigned>(sizeof(WinChar)) : count;
  const bool fits = dest == nullptr || (size <= *pcount && size <= offered * sizeof(WinChar));
  *pcount = size;
  if (!fits) return ERROR_MORE_DATA;
  if (dest != nullptr && size != 0) std::memcpy(dest, bytes(), size);
  return ERROR_SUCCESS;
}

static_assert(offsetof(WinBuffer, buffer) == 0 && offsetof(WinBuffer, countPointer) == 8 + 4096);
static_assert(offsetof(WinBuffer, count) == 4112 && offsetof(WinBuffer, inWinChars) == 4116);

}  // namespace kelvane
