// Storing values.

#include <kelvane/advapi32.h>

#include <cstdint>
#include <cstring>
#include <cwchar>

#include "bootstrap/registry_table.h"
#include "registry/gate.h"
#include "registry/guarded_probe.h"
#include "registry/root_keys.h"
#include "registry/wide_buffers.h"
#include "registry/win_char.h"

inline namespace kelvane {
namespace {

// The size of ANSI text with the terminator that stands just behind it, when its caller did not count it.
DWORD with_terminator(DWORD type, const BYTE* data, DWORD size) {
  if (!is_string_type(type) || data == nullptr || size == 0 || data[size - 1] == 0) return size;
  return is_zero_behind(data + size) ? size + 1 : size;
}

// The 32-bit character at an index of data at any address. For a size below 4 it stands before the data.
__attribute__((no_sanitize("address", "thread", "undefined"), noinline)) wchar_t last_character(const BYTE* data,
                                                                                                DWORD size) {
  const std::int64_t index = static_cast<std::int64_t>(size / sizeof(wchar_t)) - 1;
  const volatile BYTE* at = data + index * static_cast<std::int64_t>(sizeof(wchar_t));
  return static_cast<wchar_t>(at[0] | at[1] << 8 | at[2] << 16 | static_cast<unsigned>(at[3]) << 24);
}

// The size of wide text with the terminator that its caller is taken not to have counted.
DWORD with_wide_terminator(const BYTE* data, DWORD size) {
  if (last_character(data, size) == L'\0') return size;
  // QUIRK wide-probe-offset: the byte probed stands at a quarter of the size, inside the data.
  const bool zero = is_zero_behind(data + size / sizeof(wchar_t));
  // QUIRK wide-probe-growth: a zero byte there makes the text one character longer.
  return zero ? size + static_cast<DWORD>(sizeof(wchar_t)) : size;
}

}  // namespace
}  // namespace kelvane

LSTATUS RegSetValueExA(HKEY key, LPCSTR value_name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const DWORD full_size = with_terminator(type, data, size);
    const WinVal value(type, data, full_size);
    const Saveable_Name name(value_name);
    return static_cast<LSTATUS>(
        slot<Slot::KvIRegSetValueEx>(key, name.data(), reserved, type, value.data, value.length, nullptr));
  });
}

LSTATUS RegSetValueA(HKEY key, LPCSTR sub_key, DWORD type, LPCSTR data, DWORD) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (key == HKEY_PERFORMANCE_DATA) return ERROR_INVALID_HANDLE;
    if (type != REG_SZ) return ERROR_INVALID_PARAMETER;
    if (key == nullptr) return ERROR_INVALID_HANDLE;
    const auto size = static_cast<DWORD>(std::strlen(data) + 1);
    HKEY target = key;
    if (!is_empty(sub_key)) {
      const LSTATUS created =
          RegCreateKeyExA(key, sub_key, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE, nullptr, &target, nullptr);
      if (created != ERROR_SUCCESS) return created;
    }
    const LSTATUS result = RegSetValueExA(target, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(data), size);
    // QUIRK set-value-close-result: with a sub-key the result of closing it is told, a failed set is lost.
    return target != key ? RegCloseKey(target) : result;
  });
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR value_name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const bool is_text = is_string_type(type) && data != nullptr;
    const DWORD full_size = is_text ? with_wide_terminator(data, size) : size;
    const WinCharString text(is_text ? reinterpret_cast<const wchar_t*>(data) : nullptr,
                             static_cast<int>(full_size / sizeof(wchar_t)));
    const WinCharString name(value_name, -1);
    const BYTE* stored = is_text ? reinterpret_cast<const BYTE*>(text.data) : data;
    const DWORD stored_size = is_text ? full_size / 2 : size;
    return static_cast<LSTATUS>(
        slot<Slot::KvIRegSetValueEx>(key, name.data, reserved, type, stored, stored_size, nullptr));
  });
}

LSTATUS RegSetValueW(HKEY key, LPCWSTR sub_key, DWORD type, LPCWSTR data, DWORD) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (key == HKEY_PERFORMANCE_DATA) return ERROR_INVALID_HANDLE;
    if (type != REG_SZ) return ERROR_INVALID_PARAMETER;
    if (key == nullptr) return ERROR_INVALID_HANDLE;
    const auto size = static_cast<DWORD>((std::wcslen(data) + 1) * sizeof(wchar_t));
    HKEY target = key;
    if (!is_empty(sub_key)) {
      const LSTATUS created =
          RegCreateKeyExW(key, sub_key, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE, nullptr, &target, nullptr);
      if (created != ERROR_SUCCESS) return created;
    }
    const LSTATUS result = RegSetValueExW(target, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(data), size);
    // QUIRK set-value-wide-result: unlike the ANSI form, the result of the set is told.
    if (target != key) RegCloseKey(target);
    return result;
  });
}
