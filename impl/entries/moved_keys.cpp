// Entries that change where keys stand, beside those of the table: renaming, and unloading what was loaded.
#include "impl/entries/answer.h"
#include "impl/entries/optional_entries.h"
#include "impl/entries/win_text.h"
#include "impl/registry_service.h"

using impl::answer;
using impl::registry_service;
using impl::Win_Text;

extern "C" {

DWORD KvIRegUnLoadKey(HKEY key, const WinChar* sub_key, void*) {
  return answer([&] { return registry_service().unload_key(key, Win_Text(sub_key).view()); });
}

DWORD KvIRegRenameKey(HKEY key, const WinChar* sub_key, const WinChar* new_name, void*) {
  if (new_name == nullptr) return ERROR_INVALID_PARAMETER;
  return answer(
      [&] { return registry_service().rename_key(key, Win_Text(sub_key).view(), Win_Text(new_name).view()); });
}

}  // extern "C"
