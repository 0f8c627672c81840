// Counts and longest lengths of a key.

#include <kelvane/advapi32.h>

#include "bootstrap/registry_table.h"
#include "registry/ansi_buffers.h"
#include "registry/gate.h"
#include "registry/wide_buffers.h"

LSTATUS RegQueryInfoKeyA(HKEY key, LPSTR class_name, LPDWORD class_size, LPDWORD reserved, LPDWORD sub_keys,
                         LPDWORD max_sub_key_length, LPDWORD max_class_length, LPDWORD values,
                         LPDWORD max_value_name_length, LPDWORD max_value_size, LPDWORD security_descriptor_size,
                         PFILETIME last_write_time) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    WinBuffer buffer(class_name, class_size, 1, -1);
    const auto ask = [&] {
      return slot<Slot::KvIRegQueryInfoKey>(key, buffer.win_chars(), buffer.countPointer, reserved, sub_keys,
                                            max_sub_key_length, max_class_length, values, max_value_name_length,
                                            max_value_size, security_descriptor_size, last_write_time, nullptr);
    };
    DWORD result = ask();
    if (result != ERROR_SUCCESS && result != ERROR_MORE_DATA) return static_cast<LSTATUS>(result);
    const bool length_only = class_name == nullptr && class_size != nullptr;
    if (result == ERROR_MORE_DATA || length_only) {
      buffer.count += 1;
      buffer.extend();
      result = ask();
    }
    buffer.return_as_string(class_name, class_size);
    return static_cast<LSTATUS>(result);
  });
}

LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR class_name, LPDWORD class_size, LPDWORD reserved, LPDWORD sub_keys,
                         LPDWORD max_sub_key_length, LPDWORD max_class_length, LPDWORD values,
                         LPDWORD max_value_name_length, LPDWORD max_value_size, LPDWORD security_descriptor_size,
                         PFILETIME last_write_time) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const int offered = class_name != nullptr && class_size != nullptr ? static_cast<int>(*class_size) : 1;
    WinCharBufferString buffer(class_name, class_size);
    const DWORD result = slot<Slot::KvIRegQueryInfoKey>(
        key, buffer.data, class_size, reserved, sub_keys, max_sub_key_length, max_class_length, values,
        max_value_name_length, max_value_size, security_descriptor_size, last_write_time, nullptr);
    // The class is brought back also when it did not fit, as far as it was offered room.
    if (result == ERROR_SUCCESS || (result == ERROR_MORE_DATA && offered > 0)) buffer.replace(ERROR_SUCCESS);
    return static_cast<LSTATUS>(result);
  });
}
