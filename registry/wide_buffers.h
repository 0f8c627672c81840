// Text and values between callers of the wide functions, whose characters have 32 bits, and the implementation.
// These objects always use arrays of the heap. They offer the implementation the caller's own counts, and never
// retry.
#pragma once

#include <kelvane/registry_table.h>
#include <winerror.h>

#include <cstddef>

#include "registry/kept_arrays.h"

inline namespace kelvane {

// A saveable copy of wide text: length characters, or up to and including the terminator when length is below
// 1. One zero WinChar stands behind it. Null text gives null data. The text need not be aligned.
class WinCharString {
 public:
  WinCharString(const wchar_t* text, int length);
  ~WinCharString() { give_array(data, Array_Use::name); }
  WinCharString(const WinCharString&) = delete;
  WinCharString& operator=(const WinCharString&) = delete;

  WinChar* data;
};

// A text that the implementation writes in place of the caller's buffer of *pcount characters.
class WinCharBufferString {
 public:
  WinCharBufferString(wchar_t* out, unsigned* pcount);
  ~WinCharBufferString() { give_array(data, Array_Use::name); }
  WinCharBufferString(const WinCharBufferString&) = delete;
  WinCharBufferString& operator=(const WinCharBufferString&) = delete;

  // Brings text and terminator to the caller when the result is 0: the count that the implementation has left,
  // and one more, but never more than it was offered.
  void replace(DWORD result);

  wchar_t* out;
  unsigned* countPointer;  // the caller's own, handed to the implementation
  WinChar* data;
  std::size_t room;  // WinChars that the caller offered; no more are brought back
};

// A value that the implementation writes in place of the caller's bytes.
class WinCharBufferValue {
 public:
  WinCharBufferValue(unsigned char* out, unsigned* pcount);
  ~WinCharBufferValue() { give_array(data, Array_Use::value); }
  WinCharBufferValue(const WinCharBufferValue&) = delete;
  WinCharBufferValue& operator=(const WinCharBufferValue&) = delete;

  // Brings the value to the caller and its size into the caller's count; the size of text doubles on the way.
  // Text that then has no room turns a result of 0 into 234. Any other result but 0 and 234 is left alone. No more is
  // written than the caller's count, whatever the implementation has told.
  void replace(const DWORD* type, DWORD& result);

  unsigned char* out;
  unsigned* callerCount;
  unsigned char* data;
  unsigned* countPointer;  // null, or count's address
  unsigned count;          // bytes, as the implementation sees them

 private:
  void replace_text(DWORD& result);
  void replace_bytes(DWORD result);
};

// The WinChars of count characters at any address.
void to_win_chars(const wchar_t* text, std::size_t count, WinChar* out);
// Those up to and including the terminator; how many there are, or 0 when none of the first `most` is it.
std::size_t terminated_to_win_chars(const wchar_t* text, std::size_t most, WinChar* out);

static_assert(sizeof(WinCharString) == 8);
static_assert(offsetof(WinCharBufferString, countPointer) == 8 && offsetof(WinCharBufferString, data) == 16);
static_assert(offsetof(WinCharBufferValue, data) == 16 && offsetof(WinCharBufferValue, count) == 32);

}  // namespace kelvane
