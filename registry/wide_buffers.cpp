// Wide text and values on their way through the table. Every character keeps its low 16 bits on the way in.

#include "registry/wide_buffers.h"

#include <algorithm>
#include <cstring>

#include "registry/win_char.h"

inline namespace kelvane {
namespace {

// Callers hand wide data over as bytes, at any address.
wchar_t character_at(const wchar_t* text, std::size_t index) {
  wchar_t character;
  std::memcpy(&character, reinterpret_cast<const unsigned char*>(text) + index * sizeof character, sizeof character);
  return character;
}

std::size_t terminated_length(const wchar_t* text) {
  std::size_t length = 0;
  while (character_at(text, length) != L'\0') ++length;
  return length + 1;
}

// Writes 32-bit characters at any address.
void widen_units(const WinChar* text, std::size_t count, unsigned char* out) {
  for (std::size_t i = 0; i < count; ++i) {
    const wchar_t character = from_win_char(text[i]);
    std::memcpy(out + i * sizeof character, &character, sizeof character);
  }
}

constexpr unsigned growth = sizeof(wchar_t) / sizeof(WinChar);

}  // namespace

WinCharString::WinCharString(const wchar_t* text, int length) : data(nullptr) {
  if (text == nullptr) return;
  const std::size_t count = length < 1 ? terminated_length(text) : static_cast<std::size_t>(length);
  data = new WinChar[count + 1];
  for (std::size_t i = 0; i < count; ++i) data[i] = to_win_char(character_at(text, i));
  data[count] = {0, 0};
}

WinCharBufferString::WinCharBufferString(wchar_t* out_text, unsigned* pcount)
    : out(out_text), countPointer(pcount), data(nullptr), room(pcount != nullptr ? *pcount : 0) {
  if (out != nullptr) data = new WinChar[room != 0 ? room : 1]();
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
  if (out != nullptr) data = new unsigned char[count != 0 ? count : 1]();
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
  if (callerCount != nullptr) {
    const unsigned needed = count * growth;
    if (out != nullptr && *callerCount < needed) result = ERROR_MORE_DATA;
    *callerCount = needed;
  }
  if (result != ERROR_SUCCESS || out == nullptr || count < sizeof(WinChar)) return;
  widen_units(reinterpret_cast<const WinChar*>(data), count / sizeof(WinChar), out);
}

void WinCharBufferValue::replace_bytes(DWORD result) {
  if (callerCount != nullptr) *callerCount = count;
  if (result == ERROR_SUCCESS && out != nullptr && count != 0) std::memcpy(out, data, count);
}

}  // namespace kelvane
