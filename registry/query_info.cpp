// Counts and longest lengths of a key.

#include <kelvane/advapi32.h>

#include "bootstrap/registry_table.h"
#include "registry/ansi_buffers.h"
#include "registry/gate.h"

LSTATUS RegQueryInfoKeyA(HKEY key, LPSTR class_name, LPDWORD class_size, LPDWORD reserved, LPDWORD sub_keys,
                         LPDWORD max_sub_key_length, LPDWORD max_class_length, LPDWORD values,
                         LPDWORD max_value_name_length, LPDWORD max_value_size, LPDWORD security_descriptor_size,
                         PFILETIME last_write_time) {
  const Registry_Gate gate;
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
}
