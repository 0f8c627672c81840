// The access checks. KvAccessCheck decides by uid and gids; its steps stand in their order in is_granted. AccessCheck
// and PrivilegeCheck only grant.
//
// Everything stands on the stack, and only re-entrant look-ups are used.

#include <kelvane/report.h>
#include <kelvane/token.h>

#include "security/access_check_groups.h"
#include "security/access_check_ids.h"
#include "security/access_check_user.h"
#include "security/descriptor.h"

inline namespace kelvane {
namespace {

constexpr DWORD nobody = 0xFFFFFFFF;
constexpr DWORD everybody = 0xFFFFFFFF;
constexpr DWORD root = 0;

bool means_everybody(const Id_List& ids) { return ids.count() == 1 && ids[0] == everybody; }

bool holds(const Id_List& ids, DWORD id) {
  for (unsigned i = 0; i < ids.count(); ++i) {
    if (ids[i] == id) return true;
  }
  return false;
}

// The script runs anew for each gid.
bool is_member_of_any(const Id_List& groups, uid_t uid) {
  for (unsigned i = 0; i < groups.count(); ++i) {
    if (is_group_of_user(uid, groups[i])) return true;
  }
  return false;
}

bool is_granted(PSECURITY_DESCRIPTOR descriptor, DWORD token) {
  const Id_List owners(descriptor != nullptr ? fields_of(descriptor)->value.Owner : nullptr);
  const Id_List groups(descriptor != nullptr ? fields_of(descriptor)->value.Group : nullptr);
  if (means_everybody(owners) && means_everybody(groups)) return true;
  Unix_User user;
  const bool found = token != nobody && user.find(token);
  if (found && token == root) return true;
  if (!found || owners.is_missing() || groups.is_missing()) return false;
  if (owners.count() == 0 && groups.count() == 0) return false;
  return holds(owners, user.uid()) || is_member_of_any(groups, user.uid());
}

}  // namespace
}  // namespace kelvane

BOOL KvAccessCheck(PSECURITY_DESCRIPTOR descriptor, HANDLE token, DWORD desired_access, PGENERIC_MAPPING,
                   PPRIVILEGE_SET, LPDWORD out_privileges_size, LPDWORD out_granted_access, LPBOOL out_status) {
  *out_status = TRUE;
  // QUIRK granted-access-stays: it is the desired access also when access is denied.
  *out_granted_access = desired_access;
  *out_privileges_size = 0;
  const auto uid = static_cast<DWORD>(reinterpret_cast<UINT_PTR>(token));
  if (!is_granted(descriptor, uid)) {
    SetLastError(ERROR_ACCESS_DENIED);
    *out_status = FALSE;
  }
  return TRUE;
}

BOOL AccessCheck(PSECURITY_DESCRIPTOR, HANDLE, DWORD desired_access, PGENERIC_MAPPING, PPRIVILEGE_SET,
                 LPDWORD privileges_size, LPDWORD out_granted_access, LPBOOL out_status) {
  KvStub(KV_STUB_LEVEL, &AdvSecurity, "AccessCheck");
  // QUIRK plain-checks-grant: nothing is checked.
  *out_status = TRUE;
  *out_granted_access = desired_access;
  *privileges_size = 0;
  return TRUE;
}

BOOL PrivilegeCheck(HANDLE, PPRIVILEGE_SET, LPBOOL out_result) {
  KvStub(KV_STUB_LEVEL, &AdvSecurity, "PrivilegeCheck");
  *out_result = TRUE;
  return TRUE;
}
