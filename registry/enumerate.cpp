// Enumerating sub-keys and values.

#include <kelvane/advapi32.h>

#include "bootstrap/registry_table.h"
#include "registry/ansi_buffers.h"
#include "registry/gate.h"
#include "registry/wide_buffers.h"

inline namespace kelvane {
namespace {

constexpr int offered_class_count = 4096;

// What one enumeration of a value passes to the implementation, as often as it must be asked.
struct Value_Enumeration {
  HKEY key;
  DWORD index;
  LPDWORD reserved;
  WinBuffer& name;
  WinBuffer& data;
  DWORD type = REG_NONE;

  DWORD ask() { return ask(name.win_chars(), name.countPointer); }
  DWORD ask_for_data_only() { return ask(nullptr, nullptr); }

 private:
  DWORD ask(WinChar* name_text, DWORD* name_count) {
    return slot<Slot::KvIRegEnumValue>(key, index, name_text, name_count, reserved, &type, data.bytes(),
                                       data.countPointer, nullptr);
  }
};

}  // namespace
}  // namespace kelvane

LSTATUS RegEnumKeyExA(HKEY key, DWORD index, LPSTR name, LPDWORD name_size, LPDWORD reserved, LPSTR class_name,
                      LPDWORD class_size, PFILETIME last_write_time) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    WinBuffer name_buffer(name, name_size, 1, -1);
    WinBuffer class_buffer(class_name, class_size, 1, offered_class_count);
    const DWORD result =
        slot<Slot::KvIRegEnumKeyEx>(key, index, name_buffer.win_chars(), name_buffer.countPointer, reserved,
                                    class_buffer.win_chars(), class_buffer.countPointer, last_write_time, nullptr);
    if (result == ERROR_SUCCESS) {
      // QUIRK enum-name-untouched-zero: a name without room shows only in its count, the answer stays 0.
      name_buffer.return_as_string(name, name_size);
      class_buffer.return_as_string(class_name, class_size);
    }
    return static_cast<LSTATUS>(result);
  });
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD reserved, LPWSTR class_name,
                      LPDWORD class_size, PFILETIME last_write_time) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    WinCharBufferString name_buffer(name, name_size);
    WinCharBufferString class_buffer(class_name, class_size);
    const DWORD result = slot<Slot::KvIRegEnumKeyEx>(key, index, name_buffer.data, name_size, reserved,
                                                     class_buffer.data, class_size, last_write_time, nullptr);
    name_buffer.replace(result);
    class_buffer.replace(result);
    return static_cast<LSTATUS>(result);
  });
}

LSTATUS RegEnumKeyA(HKEY key, DWORD index, LPSTR name, DWORD name_size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (key == HKEY_PERFORMANCE_DATA) return ERROR_INVALID_HANDLE;
    DWORD room = name_size;
    return RegEnumKeyExA(key, index, name, &room, nullptr, nullptr, nullptr, nullptr);
  });
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD name_size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (key == HKEY_PERFORMANCE_DATA) return ERROR_INVALID_HANDLE;
    DWORD room = name_size;
    return RegEnumKeyExW(key, index, name, &room, nullptr, nullptr, nullptr, nullptr);
  });
}

LSTATUS RegEnumValueA(HKEY key, DWORD index, LPSTR name, LPDWORD name_size, LPDWORD reserved, LPDWORD out_type,
                      LPBYTE data, LPDWORD size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (name == nullptr || name_size == nullptr) return ERROR_INVALID_PARAMETER;
    WinBuffer name_buffer(name, name_size, 1, -1);
    WinBuffer data_buffer(reinterpret_cast<char*>(data), size, 0, -1);
    const bool has_count = data_buffer.countPointer != nullptr;
    const DWORD offered = has_count && data_buffer.has_data() ? data_buffer.count : ~DWORD{0};
    Value_Enumeration value{key, index, reserved, name_buffer, data_buffer};
    const DWORD first = value.ask();
    if (first != ERROR_SUCCESS && first != ERROR_MORE_DATA) return static_cast<LSTATUS>(first);

    if (first == ERROR_SUCCESS && (data_buffer.has_data() || !has_count)) {
      const DWORD returned = data_buffer.return_as_value(data, size, value.type);
      if (out_type != nullptr) *out_type = value.type;
      if (returned == ERROR_SUCCESS) name_buffer.return_as_string(name, name_size);
      return static_cast<LSTATUS>(returned);
    }
    const bool needs_more = has_count && (data_buffer.count > offered || !data_buffer.has_data());
    if (is_string_type(value.type) && needs_more) {
      data_buffer.extend();
      const DWORD second = first == ERROR_MORE_DATA ? value.ask() : value.ask_for_data_only();
      if (second != ERROR_SUCCESS && second != ERROR_MORE_DATA) return static_cast<LSTATUS>(first);
    }
    // QUIRK enum-value-fills-on-234: the data is returned also when the name alone had no room.
    data_buffer.return_as_value(data, size, value.type);
    if (out_type != nullptr) *out_type = value.type;
    if (first == ERROR_SUCCESS) name_buffer.return_as_string(name, name_size);
    return static_cast<LSTATUS>(first);
  });
}

// QUIRK enum-value-wide-unchecked: the wide form takes a null name or name size as it comes.
LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD name_size, LPDWORD reserved, LPDWORD out_type,
                      LPBYTE data, LPDWORD size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    WinCharBufferString name_buffer(name, name_size);
    WinCharBufferValue value(data, size);
    DWORD own_type = REG_NONE;
    DWORD* type = out_type != nullptr ? out_type : &own_type;
    DWORD result = slot<Slot::KvIRegEnumValue>(key, index, name_buffer.data, name_size, reserved, type, value.data,
                                               value.countPointer, nullptr);
    value.replace(type, result);
    name_buffer.replace(result);
    return static_cast<LSTATUS>(result);
  });
}
