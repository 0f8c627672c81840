// Opening, creating, deleting and closing keys.

#include <kelvane/advapi32.h>

#include "bootstrap/registry_table.h"
#include "registry/gate.h"
#include "registry/root_keys.h"
#include "registry/wide_buffers.h"
#include "registry/win_char.h"

LSTATUS RegCreateKeyExA(HKEY key, LPCSTR sub_key, DWORD reserved, LPSTR class_name, DWORD options, REGSAM access,
                        LPSECURITY_ATTRIBUTES security, PHKEY out_key, LPDWORD disposition) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name class_text(class_name);
    const Saveable_Name name(sub_key);
    return static_cast<LSTATUS>(slot<Slot::KvIRegCreateKeyEx>(key, name.data(), reserved, class_text.data(), options,
                                                              access, security, out_key, disposition, DWORD{0},
                                                              nullptr));
  });
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR sub_key, DWORD reserved, LPWSTR class_name, DWORD options, REGSAM access,
                        LPSECURITY_ATTRIBUTES security, PHKEY out_key, LPDWORD disposition) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const WinCharString class_text(class_name, -1);
    const WinCharString name(sub_key, -1);
    return static_cast<LSTATUS>(slot<Slot::KvIRegCreateKeyEx>(
        key, name.data, reserved, class_text.data, options, access, security, out_key, disposition, DWORD{0}, nullptr));
  });
}

LSTATUS RegCreateKeyA(HKEY key, LPCSTR sub_key, PHKEY out_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (out_key == nullptr) return ERROR_INVALID_PARAMETER;
    if (!is_empty(sub_key))
      return RegCreateKeyExA(key, sub_key, 0, nullptr, REG_OPTION_NON_VOLATILE, MAXIMUM_ALLOWED, nullptr, out_key,
                             nullptr);
    // QUIRK open-create-empty-sub-key: without a sub-key, creating hands a root back and refuses other handles.
    if (!is_predefined_key(key)) return ERROR_BADKEY;
    *out_key = key;
    return ERROR_SUCCESS;
  });
}

// QUIRK create-key-wide-unchecked: the wide form makes none of the ANSI form's checks.
LSTATUS RegCreateKeyW(HKEY key, LPCWSTR sub_key, PHKEY out_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    return RegCreateKeyExW(key, sub_key, 0, nullptr, REG_OPTION_NON_VOLATILE, MAXIMUM_ALLOWED, nullptr, out_key,
                           nullptr);
  });
}

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR sub_key, DWORD options, REGSAM access, PHKEY out_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(sub_key);
    return static_cast<LSTATUS>(slot<Slot::KvIRegOpenKeyEx>(key, name.data(), options, access, out_key, nullptr));
  });
}

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR sub_key, DWORD options, REGSAM access, PHKEY out_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const WinCharString name(sub_key, -1);
    return static_cast<LSTATUS>(slot<Slot::KvIRegOpenKeyEx>(key, name.data, options, access, out_key, nullptr));
  });
}

LSTATUS RegOpenKeyA(HKEY key, LPCSTR sub_key, PHKEY out_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (out_key == nullptr) return ERROR_INVALID_PARAMETER;
    // QUIRK open-create-empty-sub-key: without a sub-key, opening opens a root anew and hands other handles back.
    if (!is_empty(sub_key) || is_predefined_key(key)) return RegOpenKeyExA(key, sub_key, 0, MAXIMUM_ALLOWED, out_key);
    *out_key = key;
    return ERROR_SUCCESS;
  });
}

LSTATUS RegOpenKeyW(HKEY key, LPCWSTR sub_key, PHKEY out_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (out_key == nullptr) return ERROR_INVALID_PARAMETER;
    if (!is_empty(sub_key) || is_predefined_key(key)) return RegOpenKeyExW(key, sub_key, 0, MAXIMUM_ALLOWED, out_key);
    *out_key = key;
    return ERROR_SUCCESS;
  });
}

LSTATUS RegDeleteKeyA(HKEY key, LPCSTR sub_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(sub_key);
    return static_cast<LSTATUS>(slot<Slot::KvIRegDeleteKey>(key, name.data(), nullptr));
  });
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR sub_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const WinCharString name(sub_key, -1);
    return static_cast<LSTATUS>(slot<Slot::KvIRegDeleteKey>(key, name.data, nullptr));
  });
}

LSTATUS RegDeleteValueA(HKEY key, LPCSTR value_name) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(value_name);
    return static_cast<LSTATUS>(slot<Slot::KvIRegDeleteValue>(key, name.data(), nullptr));
  });
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR value_name) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const WinCharString name(value_name, -1);
    return static_cast<LSTATUS>(slot<Slot::KvIRegDeleteValue>(key, name.data, nullptr));
  });
}

LSTATUS RegCloseKey(HKEY key) {
  return gated(key,
               [=]() KV_IN_FRONT -> LSTATUS { return static_cast<LSTATUS>(slot<Slot::KvIRegCloseKey>(key, nullptr)); });
}
