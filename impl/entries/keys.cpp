// Entries that open, make, delete and close keys.
#include <kelvane/registry_entries.h>
#include <winreg.h>

#include "impl/entries/answer.h"
#include "impl/entries/win_text.h"
#include "impl/registry_service.h"

namespace {

using impl::answer;
using impl::registry_service;
using impl::Win_Text;

constexpr DWORD known_options =
    REG_OPTION_VOLATILE | REG_OPTION_CREATE_LINK | REG_OPTION_BACKUP_RESTORE | REG_OPTION_OPEN_LINK;

}  // namespace

extern "C" {

DWORD KvIRegCreateKeyEx(HKEY key, const WinChar* sub_key, DWORD, const WinChar* class_name, DWORD options, DWORD access,
                        SECURITY_ATTRIBUTES*, HKEY* out_key, DWORD* out_disposition, DWORD, void*) {
  if (out_key == nullptr || (options & ~known_options) != 0) return ERROR_INVALID_PARAMETER;
  return answer([&]() -> DWORD {
    const Win_Text path(sub_key);
    const Win_Text class_text(class_name);
    if (class_text.view().size() > impl::max_class_units) return ERROR_INVALID_PARAMETER;
    bool created = false;
    const DWORD code =
        registry_service().create_key(key, path.view(), {class_text.view(), options, access}, out_key, &created);
    if (code == ERROR_SUCCESS && out_disposition != nullptr) {
      *out_disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    }
    return code;
  });
}

DWORD KvIRegOpenKeyEx(HKEY key, const WinChar* sub_key, DWORD, DWORD access, HKEY* out_key, void*) {
  if (out_key == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&] { return registry_service().open_key(key, Win_Text(sub_key).view(), access, out_key); });
}

DWORD KvIRegCloseKey(HKEY key, void*) {
  return answer([&] { return registry_service().close_key(key); });
}

DWORD KvIRegDeleteKey(HKEY key, const WinChar* sub_key, void*) {
  if (sub_key == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&] { return registry_service().delete_key(key, Win_Text(sub_key).view()); });
}

DWORD KvIRegFlushKey(HKEY key, void*) {
  return answer([&] { return registry_service().flush_key(key); });
}

DWORD KvIRegConnectRegistry(const WinChar* machine, HKEY key, HKEY* out_key, void*) {
  if (out_key == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&] { return registry_service().connect(Win_Text(machine).view(), key, out_key); });
}

}  // extern "C"
