// RegRenameKey, an entry that an implementation library may have beside those of the table. It is looked up by its name
// in the library that the table is bound to.

#include <dlfcn.h>
#include <kelvane/registry_table.h>
#include <winbase.h>
#include <winerror.h>
#include <winreg.h>

#include "bootstrap/registry_table.h"
#include "registry/gate.h"
#include "registry/wide_buffers.h"

inline namespace kelvane {
namespace {

using Rename_Entry = DWORD (*)(HKEY key, const WinChar* sub_key, const WinChar* new_name, void* null);

Rename_Entry rename_entry() {
  Dl_info bound;
  if (dladdr(KvIRegFunctions[static_cast<int>(Slot::KvIRegOpenKeyEx)].entry, &bound) == 0) return nullptr;
  const DWORD last_error = GetLastError();
  const HMODULE library = LoadLibraryA(bound.dli_fname);
  const FARPROC entry = library != nullptr ? GetProcAddress(library, "KvIRegRenameKey") : nullptr;
  SetLastError(last_error);
  return reinterpret_cast<Rename_Entry>(reinterpret_cast<void*>(entry));
}

}  // namespace
}  // namespace kelvane

LSTATUS RegRenameKey(HKEY key, LPCWSTR sub_key, LPCWSTR new_name) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (new_name == nullptr) return ERROR_INVALID_PARAMETER;
    const Rename_Entry entry = rename_entry();
    if (entry == nullptr) return ERROR_CALL_NOT_IMPLEMENTED;
    const WinCharString old_text(sub_key, -1);
    const WinCharString new_text(new_name, -1);
    return static_cast<LSTATUS>(entry(key, old_text.data, new_text.data, nullptr));
  });
}
