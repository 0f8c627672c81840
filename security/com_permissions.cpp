// Who may use COM servers and who may start them: both permissions, of one application or of the machine, edited
// together. When the second edit fails the first is undone.

#include <kelvane/security.h>

#include <cstdio>

#include "security/com_edit.h"

inline namespace kelvane {
namespace {

constexpr DWORD above_all_flags = 4;

// The permissions of one application, or of the machine.
class Permissions_Key {
 public:
  explicit Permissions_Key(const GUID* application) {
    if (application == nullptr) {
      result_ = RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Ole", 0, KEY_ALL_ACCESS, &key_);
      return;
    }
    char path[sizeof "AppID\\{01234567-0123-0123-0123-012345678901}"];
    const GUID& id = *application;
    std::snprintf(path, sizeof path, "%s{%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x}", "AppID\\", id.Data1,
                  id.Data2, id.Data3, id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5],
                  id.Data4[6], id.Data4[7]);
    result_ = RegOpenKeyExA(HKEY_CLASSES_ROOT, path, 0, KEY_ALL_ACCESS, &key_);
  }
  ~Permissions_Key() {
    if (result_ == ERROR_SUCCESS) RegCloseKey(key_);
  }
  Permissions_Key(const Permissions_Key&) = delete;
  Permissions_Key& operator=(const Permissions_Key&) = delete;

  LONG result() const { return result_; }
  HKEY key() const { return key_; }

 private:
  HKEY key_ = nullptr;
  LONG result_;
};

// One call's edits of the values of one key.
struct Permission_Edit {
  HKEY key;
  bool is_default;
  Principals who;
  DWORD which;
  DWORD mode;
  bool add;

  LONG start_anew(Com_Descriptor& out) const { return add ? KvSDCreateNewSD(out) : E_INVALIDARG; }

  // What the edit starts from.
  LONG obtain(bool is_access, Com_Descriptor& out) const {
    if (mode == KV_COM_NEW) return start_anew(out);
    const LONG result = KvSDGetRegistrySD(key, permission_name(is_access, is_default), out);
    return result != ERROR_SUCCESS && mode == KV_COM_STORED_OR_NEW ? start_anew(out) : result;
  }

  // Edits one permission and hands out what it was before.
  LONG edit(bool is_access, Com_Descriptor& out_before) const {
    const LONG result = obtain(is_access, out_before);
    if (result != ERROR_SUCCESS) return result;
    return KvSDHandleSingleSD(out_before, key, who, add, is_access, is_default);
  }

  LONG edit_all() const {
    Com_Descriptor access, launch;
    const bool with_access = (which & KV_COM_ACCESS) != 0;
    if (with_access) {
      const LONG result = edit(true, access);
      if (result != ERROR_SUCCESS) return result;
    }
    if ((which & KV_COM_LAUNCH) == 0) return ERROR_SUCCESS;
    const LONG result = edit(false, launch);
    // QUIRK com-undo-opens: where nothing was stored, or it was to be ignored, a new descriptor is written back.
    if (result != ERROR_SUCCESS && with_access) write_permission(key, access, true, is_default);
    return result;
  }
};

LONG edit_permissions(const GUID* application, const Principals& who, DWORD which, DWORD mode, bool add) {
  if (which >= above_all_flags || mode >= above_all_flags) return ERROR_INVALID_PARAMETER;
  const Permissions_Key opened(application);
  if (opened.result() != ERROR_SUCCESS) return opened.result();
  return Permission_Edit{opened.key(), application == nullptr, who, which, mode, add}.edit_all();
}

BOOL KvSecDescHandlePrincipal(const GUID* application, const Principals& who, DWORD which, DWORD mode, bool add) {
  const LONG result = edit_permissions(application, who, which, mode, add);
  if (result == ERROR_SUCCESS) return TRUE;
  SetLastError(static_cast<DWORD>(result));
  return FALSE;
}

}  // namespace
}  // namespace kelvane

BOOL KvSecDescAddPrincipal(const GUID* application, const DWORD* users, DWORD user_count, const DWORD* groups,
                           DWORD group_count, DWORD which, DWORD mode) {
  return KvSecDescHandlePrincipal(application, {users, user_count, groups, group_count}, which, mode, true);
}

BOOL KvSecDescRemovePrincipal(const GUID* application, const DWORD* users, DWORD user_count, const DWORD* groups,
                              DWORD group_count, DWORD which, DWORD mode) {
  return KvSecDescHandlePrincipal(application, {users, user_count, groups, group_count}, which, mode, false);
}
