// Whether a user has a group, asked of the script that lists a user's groups.
#pragma once

#include <sys/types.h>
#include <windef.h>

inline namespace kelvane {

// Runs "getgr.sh" for the login name of the user and waits for its end. False also when the user has no entry, his
// name is none that may be given to the shell, or the script cannot be run or prints nothing.
bool is_group_of_user(uid_t uid, DWORD gid);

}  // namespace kelvane
