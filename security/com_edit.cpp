// One COM permission, from its descriptor to the value in the registry: its parts are found and checked, the SIDs
// copied into blocks with room, the principals applied, and the whole packed and stored.

#include "security/com_edit.h"

#include <winbase.h>

#include <cstdlib>
#include <cstring>

#include "security/acl.h"
#include "security/com_principals.h"
#include "security/com_value.h"
#include "security/descriptor.h"
#include "security/sid.h"

inline namespace kelvane {
namespace {

// An absolute descriptor with SIDs of its own; the DACL is still the stored descriptor's.
struct Edited {
  SECURITY_DESCRIPTOR descriptor;
  Block owner;
  Block group;
};

bool list_is_inside(const Com_Descriptor& descriptor, DWORD offset) {
  return offset == 0 ||
         (descriptor.size >= descriptor_header_size + acl_header_size && offset <= descriptor.size - acl_header_size);
}

bool sid_is_inside(const Com_Descriptor& descriptor, DWORD offset) {
  if (offset == 0 || ULONGLONG{offset} + sizeof(SID) > descriptor.size) return false;
  return ULONGLONG{offset} + sid_size(descriptor.bytes.get() + offset) <= descriptor.size;
}

bool parts_are_inside(const Com_Descriptor& descriptor) {
  const BYTE* const bytes = descriptor.bytes.get();
  return bytes[0] == SECURITY_DESCRIPTOR_REVISION && list_is_inside(descriptor, com_offset(bytes, Com_Offset::dacl)) &&
         list_is_inside(descriptor, com_offset(bytes, Com_Offset::sacl)) &&
         sid_is_inside(descriptor, com_offset(bytes, Com_Offset::owner)) &&
         sid_is_inside(descriptor, com_offset(bytes, Com_Offset::group));
}

// Whether the whole list, whose header is inside, is too. One below the size of its header would be stored as one
// that no edit takes.
bool whole_list_is_inside(const Com_Descriptor& descriptor, DWORD offset) {
  const DWORD size = acl_size(descriptor.bytes.get() + offset);
  return size >= acl_header_size && size + descriptor_header_size <= descriptor.size &&
         size <= descriptor.size - offset;
}

// The SID in a block with room for every entry; null when there is no memory.
Block copied_sid(const BYTE* sid) {
  Block block(static_cast<BYTE*>(std::calloc(1, principal_sid_room)));
  if (block == nullptr) return block;
  std::memcpy(block.get(), sid, sid_size(sid));
  block.get()[0] = SID_REVISION;
  return block;
}

LONG make_editable(const Com_Descriptor& descriptor, Edited& out) {
  if (!parts_are_inside(descriptor)) return E_INVALIDARG;
  BYTE* const bytes = descriptor.bytes.get();
  const DWORD dacl = com_offset(bytes, Com_Offset::dacl);
  if (dacl != 0 && !whole_list_is_inside(descriptor, dacl)) return REGDB_E_INVALIDVALUE;
  out.owner = copied_sid(bytes + com_offset(bytes, Com_Offset::owner));
  out.group = copied_sid(bytes + com_offset(bytes, Com_Offset::group));
  if (out.owner == nullptr || out.group == nullptr) return E_OUTOFMEMORY;
  out.descriptor = fields_of(bytes)->value;
  out.descriptor.Control &= static_cast<WORD>(~SE_SELF_RELATIVE);
  out.descriptor.Owner = out.owner.get();
  out.descriptor.Group = out.group.get();
  out.descriptor.Sacl = nullptr;
  out.descriptor.Dacl = dacl == 0 ? nullptr : reinterpret_cast<PACL>(bytes + dacl);
  return ERROR_SUCCESS;
}

bool is_passed_over(LONG result, bool add) {
  return add ? result == ERROR_USER_EXISTS || result == ERROR_GROUP_EXISTS : result == ERROR_NOT_FOUND;
}

LONG apply_ids(SECURITY_DESCRIPTOR& descriptor, const DWORD* ids, DWORD count, bool are_users, bool add) {
  for (DWORD i = 0; i < count; ++i) {
    const LONG result = KvSDHandleSinglePrincipal(&descriptor, ids[i], are_users, add);
    if (is_passed_over(result, add)) {
      SetLastError(static_cast<DWORD>(result));
    } else if (result != ERROR_SUCCESS) {
      return result;
    }
  }
  return ERROR_SUCCESS;
}

LONG apply(SECURITY_DESCRIPTOR& descriptor, const Principals& who, bool add) {
  const bool everybody = who.are_everybody();
  const LONG users = everybody ? apply_ids(descriptor, &everybody_id, 1, true, add)
                               : apply_ids(descriptor, who.users, who.user_count, true, add);
  if (users != ERROR_SUCCESS) return users;
  return everybody ? apply_ids(descriptor, &everybody_id, 1, false, add)
                   : apply_ids(descriptor, who.groups, who.group_count, false, add);
}

LONG pack(SECURITY_DESCRIPTOR& descriptor, Com_Descriptor& out) {
  const DWORD last_error = GetLastError();
  out.size = 1;
  MakeSelfRelativeSD(&descriptor, nullptr, &out.size);
  SetLastError(last_error);
  out.bytes.reset(static_cast<BYTE*>(std::calloc(1, out.size)));
  if (out.bytes == nullptr) return E_OUTOFMEMORY;
  MakeSelfRelativeSD(&descriptor, out.bytes.get(), &out.size);
  return ERROR_SUCCESS;
}

}  // namespace

const char* permission_name(bool is_access, bool is_default) {
  if (is_access) return is_default ? "DefaultAccessPermission" : "AccessPermission";
  return is_default ? "DefaultLaunchPermission" : "LaunchPermission";
}

LONG write_permission(HKEY key, Com_Descriptor& descriptor, bool is_access, bool is_default) {
  turn_to_stored_order(descriptor.bytes.get(), descriptor.size);
  return RegSetValueExA(key, permission_name(is_access, is_default), 0, REG_BINARY, descriptor.bytes.get(),
                        descriptor.size);
}

LONG KvSDHandleSingleSD(const Com_Descriptor& descriptor, HKEY key, const Principals& who, bool add, bool is_access,
                        bool is_default) {
  Edited edited;
  Com_Descriptor packed;
  LONG result = make_editable(descriptor, edited);
  if (result == ERROR_SUCCESS) result = apply(edited.descriptor, who, add);
  if (result == ERROR_SUCCESS) result = pack(edited.descriptor, packed);
  if (result == ERROR_SUCCESS) result = write_permission(key, packed, is_access, is_default);
  return result;
}

}  // namespace kelvane
