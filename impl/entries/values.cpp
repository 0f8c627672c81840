// Entries that read, store and delete one value.
#include <kelvane/registry_entries.h>

#include "impl/entries/answer.h"
#include "impl/entries/win_text.h"
#include "impl/registry_service.h"

namespace {

using impl::answer;
using impl::registry_service;
using impl::Win_Text;

bool is_text(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

}  // namespace

extern "C" {

DWORD KvIRegQueryValueEx(HKEY key, const WinChar* value_name, DWORD*, DWORD* out_type, BYTE* data, DWORD* data_size,
                         void*) {
  if (data != nullptr && data_size == nullptr) return ERROR_INVALID_PARAMETER;
  // Inlined, which the size of its frame would forbid.
  return answer([&]() __attribute__((always_inline)) {
    impl::Value_Room value{data, data == nullptr ? 0 : *data_size};
    const DWORD code = registry_service().query_value(key, Win_Text(value_name).view(), value);
    if (code != ERROR_SUCCESS && code != ERROR_MORE_DATA) return code;
    if (out_type != nullptr) *out_type = value.type;
    if (data_size != nullptr) *data_size = value.size;
    return code;
  });
}

// Text is whole WinChars: the odd byte of an odd size is not stored.
DWORD KvIRegSetValueEx(HKEY key, const WinChar* value_name, DWORD, DWORD type, const BYTE* data, DWORD data_size,
                       void*) {
  if (data == nullptr && data_size != 0) return ERROR_INVALID_PARAMETER;
  const DWORD stored_size = is_text(type) ? data_size & ~1u : data_size;
  return answer(
      [&] { return registry_service().set_value(key, Win_Text(value_name).view(), type, data, stored_size); });
}

DWORD KvIRegDeleteValue(HKEY key, const WinChar* value_name, void*) {
  return answer([&] { return registry_service().delete_value(key, Win_Text(value_name).view()); });
}

}  // extern "C"
