// Storing values.

#include <kelvane/advapi32.h>

#include <cstring>

#include "bootstrap/registry_table.h"
#include "registry/gate.h"
#include "registry/guarded_probe.h"
#include "registry/root_keys.h"
#include "registry/win_char.h"

inline namespace kelvane {
namespace {

// The size of ANSI text with the terminator that stands just behind it, when its caller did not count it.
DWORD with_terminator(DWORD type, const BYTE* data, DWORD size) {
  if (!is_string_type(type) || data == nullptr || size == 0 || data[size - 1] == 0) return size;
  return is_zero_behind(data + size) ? size + 1 : size;
}

}  // namespace
}  // namespace kelvane

LSTATUS RegSetValueExA(HKEY key, LPCSTR value_name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  const Registry_Gate gate;
  const DWORD full_size = with_terminator(type, data, size);
  const WinVal value(type, data, full_size);
  const Saveable_Name name(value_name);
  return static_cast<LSTATUS>(
      slot<Slot::KvIRegSetValueEx>(key, name.data(), reserved, type, value.data, value.length, nullptr));
}

LSTATUS RegSetValueA(HKEY key, LPCSTR sub_key, DWORD type, LPCSTR data, DWORD) {
  const Registry_Gate gate;
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
}
