// Wide text and values on their way through the table. Every character keeps its low 16 bits on the way in.

#include "registry/wide_buffers.h"

#include <algorithm>
#include <cstring>

#include "registry/win_char.h"

inline namespace kelvane {
namespace {

// Callers hand wide data over as bytes, at any address.
std::size_t terminated_length(const wchar_t* text) {
  const auto* at = reinterpret_cast<const unsigned char*>(text);
  std::size_t length = 1;
  for (wchar_t character; std::memcpy(&character, at, sizeof character), character != L'\0'; ++length)
    at += sizeof character;
  return length;
}

// Writes 32-bit characters at any address.
void widen_units(const WinChar* text, std::size_t count, unsigned char* out) {
  for (std::size_t i = 0; i < count; ++i) {
    const wchar_t character = from_win_char(text[i]);
    std::memcpy(out + i * sizeof character, &character, sizeof character);
  }
}

constexpr unsigned growth = sizeof(wchar_t) / sizeof(WinChar);

WinChar* take_units(std::size_t count, Array_Use use) {
  return reinterpret_cast<WinChar*>(take_array(count * sizeof(WinChar), use));
}

// Zeroed, so that nothing of another call is seen where the implementation writes less than it tells. A short
// array is cleared with a whole block, which needs no call; a long one comes with zeros.
unsigned char* take_zeroed(std::size_t size, Array_Use use) {
  constexpr std::size_t block = 64;
  unsigned char* const bytes = take_array(size, use);
  if (size <= block) {
    std::memset(bytes, 0, block);
  } else if (size <= usual_array_size) {
    std::memset(bytes, 0, size);
  }
  return bytes;
}

// The saveable form of text of a known length, with a zero WinChar behind it.
WinChar* saveable(const wchar_t* text, std::size_t count, Array_Use use) {
  WinChar* const units = take_units(count + 1, use);
  to_win_chars(text, count, units);
  units[count] = {0, 0};
  return units;
}

// The same up to and including the terminator. Short text is read once only.
WinChar* saveable_terminated(const wchar_t* text) {
  constexpr std::size_t usual_count = usual_array_size / sizeof(WinChar) - 1;
  WinChar* const units = take_units(usual_count + 1, Array_Use::name);
  const std::size_t count = terminated_to_win_chars(text, usual_count, units);
  if (count == 0) {
    give_array(units, Array_Use::name);
    return saveable(text, terminated_length(text), Array_Use::name);
  }
  units[count] = {0, 0};
  return units;
}

}  // namespace

WinCharString::WinCharString(const wchar_t* text, int length) : data(nullptr) {
  if (text == nullptr) return;
  data = length < 1 ? saveable_terminated(text) : saveable(text, static_cast<std::size_t>(length), Array_Use::value);
}

WinCharBufferString::WinCharBufferString(wchar_t* out_text, unsigned* pcount)
    : out(out_text), countPointer(pcount), data(nullptr), room(pcount != nullptr ? *pcount : 0) {
  if (out == nullptr) return;
  data = reinterpret_cast<WinChar*>(take_zeroed((room != 0 ? room : 1) * sizeof(WinChar), Array_Use::name));
}

void WinCharBufferString::replace(DWORD result) {
  if (result != ERROR_SUCCESS || out == nullptr || countPointer == nullptr) return;
  const std::size_t told = std::size_t{*countPointer} + 1;
  widen_units(data, std::min(told, room), reinterpret_cast<unsigned char*>(out));
}

WinCharBufferValue::WinCharBufferValue(unsigned char* out_bytes, unsigned* pcount)
    : out(out_bytes), callerCount(pcount), data(nullptr), countPointer(nullptr), count(0) {
  if (pcount != nullptr) {
    count = *pcount;
    countPointer = &count;
  }
  if (out != nullptr) data = take_zeroed(count != 0 ? count : 1, Array_Use::value);
}

void WinCharBufferValue::replace(const DWORD* type, DWORD& result) {
  if (result != ERROR_SUCCESS && result != ERROR_MORE_DATA) return;
  if (is_string_type(*type)) {
    replace_text(result);
  } else {
    replace_bytes(result);
  }
}

void WinCharBufferValue::replace_text(DWORD& result) {
  if (callerCount == nullptr) return;
  const unsigned room = *callerCount;
  const unsigned needed = count * growth;
  if (out != nullptr && room < needed) result = ERROR_MORE_DATA;
  *callerCount = needed;
  if (result != ERROR_SUCCESS || out == nullptr) return;
  const std::size_t units = std::min(count / sizeof(WinChar), room / sizeof(wchar_t));
  widen_units(reinterpret_cast<const WinChar*>(data), units, out);
}

void WinCharBufferValue::replace_bytes(DWORD result) {
  if (callerCount == nullptr) return;
  const unsigned size = std::min(count, *callerCount);
  *callerCount = count;
  if (result == ERROR_SUCCESS && out != nullptr && size != 0) std::memcpy(out, data, size);
}

}  // namespace kelvane
