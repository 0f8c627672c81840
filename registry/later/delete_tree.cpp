// RegDeleteTree: everything below a key, children before their parents. It works on the stored form of names, so that
// none is lost between code pages.

#include <kelvane/registry_table.h>
#include <winerror.h>

#include "bootstrap/registry_table.h"
#include "registry/array.h"
#include "registry/gate.h"
#include "registry/later/opened_key.h"
#include "registry/later/stored_names.h"
#include "registry/wide_buffers.h"
#include "registry/win_char.h"

inline namespace kelvane {
namespace {

constexpr DWORD delete_access = DELETE | KEY_ENUMERATE_SUB_KEYS | KEY_QUERY_VALUE | KEY_SET_VALUE;

LSTATUS code(DWORD result) { return static_cast<LSTATUS>(result); }

LSTATUS delete_sub_keys(HKEY key);

LSTATUS delete_with_sub_keys(HKEY key, const WinChar* name) {
  {
    Opened_Key child;
    LSTATUS result = code(slot<Slot::KvIRegOpenKeyEx>(key, name, DWORD{0}, delete_access, child.out(), nullptr));
    if (result == ERROR_SUCCESS) result = delete_sub_keys(child.get());
    if (result != ERROR_SUCCESS) return result;
  }
  return code(slot<Slot::KvIRegDeleteKey>(key, name, nullptr));
}

// As deep as keys are, which the store bounds.
LSTATUS delete_sub_keys(HKEY key) {
  for (;;) {
    WinChar name[key_name_room];
    DWORD count = key_name_room;
    LSTATUS result =
        code(slot<Slot::KvIRegEnumKeyEx>(key, DWORD{0}, name, &count, nullptr, nullptr, nullptr, nullptr, nullptr));
    if (result == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (result == ERROR_SUCCESS) result = delete_with_sub_keys(key, name);
    if (result != ERROR_SUCCESS) return result;
  }
}

LSTATUS delete_values(HKEY key) {
  Array<WinChar> name(value_name_room);
  for (;;) {
    DWORD count = value_name_room;
    LSTATUS result = code(
        slot<Slot::KvIRegEnumValue>(key, DWORD{0}, name.data(), &count, nullptr, nullptr, nullptr, nullptr, nullptr));
    if (result == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (result == ERROR_SUCCESS) result = code(slot<Slot::KvIRegDeleteValue>(key, name.data(), nullptr));
    if (result != ERROR_SUCCESS) return result;
  }
}

// Without a name the key itself stays.
LSTATUS delete_tree(HKEY key, const WinChar* name) {
  if (names_stored_key(name)) return delete_with_sub_keys(key, name);
  const LSTATUS result = delete_sub_keys(key);
  return result != ERROR_SUCCESS ? result : delete_values(key);
}

}  // namespace
}  // namespace kelvane

LSTATUS RegDeleteTreeA(HKEY key, LPCSTR sub_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(sub_key);
    return delete_tree(key, name.data());
  });
}

LSTATUS RegDeleteTreeW(HKEY key, LPCWSTR sub_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const WinCharString name(sub_key, -1);
    return delete_tree(key, name.data);
  });
}
