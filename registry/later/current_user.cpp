// The current user's key as a handle, and texts for the user from plain strings.

#include <winerror.h>
#include <winreg.h>

#include <cstring>

#include "registry/front_trace.h"
#include "registry/later/value_block.h"

inline namespace kelvane {
namespace {

constexpr DWORD usual_size = 1024;

LSTATUS read_text(HKEY key, const wchar_t* name, Value_Block& out, DWORD* out_size) {
  for (;;) {
    *out_size = static_cast<DWORD>(out.room());
    const LSTATUS result = RegGetValueW(key, nullptr, name, RRF_RT_REG_SZ, nullptr, out.data(), out_size);
    if (result != ERROR_MORE_DATA) return result;
    out.grow(*out_size, 0);
  }
}

// As much as there is room for, terminated.
LSTATUS deliver_cut(const wchar_t* text, DWORD size, wchar_t* out, DWORD room) {
  if (room < sizeof(wchar_t)) return ERROR_MORE_DATA;
  const DWORD copied = (size < room ? size : room - room % sizeof(wchar_t)) - static_cast<DWORD>(sizeof(wchar_t));
  std::memcpy(out, text, copied);
  out[copied / sizeof(wchar_t)] = L'\0';
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace kelvane

LSTATUS RegOpenCurrentUser(REGSAM access, PHKEY out_key) {
  return traced(nullptr, [=]() KV_IN_FRONT -> LSTATUS {
    if (out_key == nullptr) return ERROR_INVALID_PARAMETER;
    return RegOpenKeyExA(HKEY_CURRENT_USER, nullptr, 0, access, out_key);
  });
}

LSTATUS RegLoadMUIStringW(HKEY key, LPCWSTR value_name, LPWSTR buffer, DWORD size, LPDWORD out_size, DWORD flags,
                          LPCWSTR) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    const bool cuts = (flags & REG_MUI_STRING_TRUNCATE) != 0;
    const bool is_request = (flags & ~DWORD{REG_MUI_STRING_TRUNCATE}) == 0 && (buffer != nullptr || size == 0);
    if (!is_request || (cuts && out_size != nullptr)) return ERROR_INVALID_PARAMETER;
    Value_Block text(usual_size);
    DWORD text_size = 0;
    const LSTATUS result = read_text(key, value_name, text, &text_size);
    if (result != ERROR_SUCCESS) return result;
    const auto* const characters = reinterpret_cast<const wchar_t*>(text.data());
    if (characters[0] == L'@') return ERROR_FILE_NOT_FOUND;
    if (out_size != nullptr) *out_size = text_size;
    if (cuts) return deliver_cut(characters, text_size, buffer, size);
    if (size < text_size) return ERROR_MORE_DATA;
    std::memcpy(buffer, characters, text_size);
    return ERROR_SUCCESS;
  });
}
