// Reading one value.

#include <kelvane/advapi32.h>

#include "bootstrap/registry_table.h"
#include "registry/ansi_buffers.h"
#include "registry/gate.h"
#include "registry/root_keys.h"
#include "registry/wide_buffers.h"

namespace {

// The default value of a sub-key, which is to be a text; one that was never set reads as an empty text.
template <typename Char, typename Open, typename Query>
LSTATUS query_default(HKEY key, const Char* sub_key, Char* data, PLONG size, Open open, Query query) {
  if (key == HKEY_PERFORMANCE_DATA || key == nullptr) return ERROR_INVALID_HANDLE;
  HKEY target;
  const LSTATUS opened = open(key, sub_key, 0, KEY_QUERY_VALUE, &target);
  if (opened != ERROR_SUCCESS) return opened;
  DWORD type = REG_NONE;
  const LSTATUS result =
      query(target, nullptr, nullptr, &type, reinterpret_cast<LPBYTE>(data), reinterpret_cast<LPDWORD>(size));
  if (target != key) RegCloseKey(target);
  if (result == ERROR_SUCCESS && type != REG_SZ) return ERROR_INVALID_DATA;
  if (result != ERROR_FILE_NOT_FOUND) return result;
  if (size != nullptr) *size = sizeof(Char);
  if (data != nullptr) data[0] = Char{};
  return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegQueryValueExA(HKEY key, LPCSTR value_name, LPDWORD reserved, LPDWORD out_type, LPBYTE data, LPDWORD size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(value_name);
    WinBuffer buffer(reinterpret_cast<char*>(data), size, 0, -1);
    DWORD type = REG_NONE;
    const DWORD first =
        slot<Slot::KvIRegQueryValueEx>(key, name.data(), reserved, &type, buffer.bytes(), buffer.countPointer, nullptr);
    if (first != ERROR_SUCCESS && first != ERROR_MORE_DATA) return static_cast<LSTATUS>(first);

    const bool size_only = data == nullptr && size != nullptr;
    if (is_string_type(type) && (first == ERROR_MORE_DATA || size_only)) {
      buffer.extend();
      const DWORD second = slot<Slot::KvIRegQueryValueEx>(key, name.data(), nullptr, &type, buffer.bytes(),
                                                          buffer.countPointer, nullptr);
      if (second != ERROR_SUCCESS) return static_cast<LSTATUS>(first);
    }
    // QUIRK query-copies-on-234: text that did not fit the first buffer answers 234 although it may be copied.
    const DWORD returned = buffer.return_as_value(data, size, type);
    if (out_type != nullptr) *out_type = type;
    return static_cast<LSTATUS>(first != ERROR_SUCCESS ? first : returned);
  });
}

LSTATUS RegQueryValueA(HKEY key, LPCSTR sub_key, LPSTR data, PLONG size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    return query_default(key, sub_key, data, size, RegOpenKeyExA, RegQueryValueExA);
  });
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR value_name, LPDWORD reserved, LPDWORD out_type, LPBYTE data, LPDWORD size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const WinCharString name(value_name, -1);
    WinCharBufferValue value(data, size);
    DWORD own_type = REG_NONE;
    DWORD* type = out_type != nullptr ? out_type : &own_type;
    DWORD result =
        slot<Slot::KvIRegQueryValueEx>(key, name.data, reserved, type, value.data, value.countPointer, nullptr);
    value.replace(type, result);
    return static_cast<LSTATUS>(result);
  });
}

LSTATUS RegQueryValueW(HKEY key, LPCWSTR sub_key, LPWSTR data, PLONG size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    return query_default(key, sub_key, data, size, RegOpenKeyExW, RegQueryValueExW);
  });
}
