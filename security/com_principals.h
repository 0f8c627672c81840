// Principals in a descriptor: users are the sub-authorities of its owner SID (Unix uids), groups those of its group
// SID (gids). One sub-authority 0xFFFFFFFF in both is everybody; a list is never left empty but holds the
// placeholder instead.
#pragma once

#include <winnt.h>

inline namespace kelvane {

constexpr DWORD everybody_id = 0xFFFFFFFF;
constexpr DWORD placeholder_id = 0xFFFFFFF0;
constexpr unsigned max_principals = 255;

// The room of each SID of an edited descriptor: two entries more than the list can have.
constexpr DWORD principal_sid_room = 8 + 4 * (max_principals + 2);

// Adds an id to the users or groups of an absolute descriptor whose SIDs have that room, or removes it. 0,
// E_INVALIDARG for what cannot be removed, ERROR_NOT_FOUND for what is not there, ERROR_USER_EXISTS or
// ERROR_GROUP_EXISTS for what is, ERROR_OUT_OF_STRUCTURES for a full list.
LONG KvSDHandleSinglePrincipal(PSECURITY_DESCRIPTOR descriptor, DWORD id, bool is_user, bool add);

}  // namespace kelvane
