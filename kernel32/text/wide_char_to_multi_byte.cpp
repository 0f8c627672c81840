// WideCharToMultiByte over the code pages of the text temporaries. The result is measured before anything is
// written, so that a failed call leaves the destination alone.
#include <winbase.h>
#include <winerror.h>

#include <climits>
#include <cstring>
#include <new>
#include <string>

#include "kernel32/text/code_page.h"

namespace {

int fail(DWORD error) {
  SetLastError(error);
  return 0;
}

const Code_Page* page_of(UINT number) {
  if (number == CP_ACP) return &environment_code_page();
  return number == CP_UTF8 ? &utf8_code_page() : nullptr;
}

bool is_character(wchar_t unit) {
  const auto point = static_cast<uint32_t>(unit);
  return point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF);
}

bool has_invalid(const std::wstring& text) {
  for (wchar_t unit : text) {
    if (!is_character(unit)) return true;
  }
  return false;
}

// A page writes "?" for a character that it cannot express.
bool is_expressible(const Code_Page& page, wchar_t unit) {
  char out[16];
  return unit == L'?' || page.encode(&unit, 1, out, sizeof out) != 1 || out[0] != '?';
}

// Puts the default in the place of each inexpressible character; tells whether there was one.
bool put_default(const Code_Page& page, std::wstring& text, LPCSTR default_character) {
  std::wstring stands_in(1, L'?');
  if (default_character != nullptr) {
    page.decode(default_character, strnlen(default_character, 2), stands_in.data(), stands_in.size());
  }
  bool used = false;
  for (wchar_t& unit : text) {
    if (is_expressible(page, unit)) continue;
    unit = stands_in[0];
    used = true;
  }
  return used;
}

int encode(const Code_Page& page, const std::wstring& text, LPSTR destination, size_t room) {
  const size_t needed = page.encoded_size(text.data(), text.size());
  if (needed > INT_MAX) return fail(ERROR_INSUFFICIENT_BUFFER);
  if (room != 0) {
    if (needed > room) return fail(ERROR_INSUFFICIENT_BUFFER);
    page.encode(text.data(), text.size(), destination, needed);
  }
  return static_cast<int>(needed);
}

}  // namespace

int WINAPI WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR source, int source_length, LPSTR destination,
                               int room, LPCSTR default_character, LPBOOL used_default) {
  const Code_Page* page = page_of(code_page);
  const bool length_is_wrong = source_length == 0 || source_length < -1 || room < 0;
  const bool pointer_is_missing = source == nullptr || (destination == nullptr && room != 0);
  if (page == nullptr || length_is_wrong || pointer_is_missing) return fail(ERROR_INVALID_PARAMETER);
  const bool asks_for_default = default_character != nullptr || used_default != nullptr;
  if (code_page == CP_UTF8 && asks_for_default) return fail(ERROR_INVALID_PARAMETER);
  try {
    std::wstring text(source, source_length == -1 ? wcslen(source) + 1 : static_cast<size_t>(source_length));
    if ((flags & WC_ERR_INVALID_CHARS) != 0 && has_invalid(text)) return fail(ERROR_NO_UNICODE_TRANSLATION);
    const bool used = asks_for_default && put_default(*page, text, default_character);
    const int size = encode(*page, text, destination, static_cast<size_t>(room));
    if (size != 0 && used_default != nullptr) *used_default = used ? TRUE : FALSE;
    return size;
  } catch (const std::bad_alloc&) {
    return fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}
