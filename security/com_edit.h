// Editing one COM permission.
#pragma once

#include <winreg.h>

#include "security/com_descriptor.h"

inline namespace kelvane {

// Whom an edit is about. Both counts 0xFFFFFFFF together are everybody, and the lists are not looked at.
struct Principals {
  const DWORD* users;
  DWORD user_count;
  const DWORD* groups;
  DWORD group_count;

  bool are_everybody() const { return user_count == 0xFFFFFFFF && group_count == 0xFFFFFFFF; }
};

// "AccessPermission" and "LaunchPermission", with "Default" before them for the machine.
const char* permission_name(bool is_access, bool is_default);

// Writes the descriptor with the principals added or removed as a value of the key; the descriptor itself stays as it
// is. What is to be added and is there, or to be removed and is not, is passed over and leaves its code as the last
// error. 0, or E_INVALIDARG and REGDB_E_INVALIDVALUE for a descriptor whose parts do not lie inside it,
// E_OUTOFMEMORY, what an id was refused with, or what storing the value answers.
LONG KvSDHandleSingleSD(const Com_Descriptor& descriptor, HKEY key, const Principals& who, bool add, bool is_access,
                        bool is_default);

// Stores a descriptor in host order as a value of the key.
LONG write_permission(HKEY key, Com_Descriptor& descriptor, bool is_access, bool is_default);

}  // namespace kelvane
