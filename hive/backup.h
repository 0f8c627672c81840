// A consistent copy of a hive that is in use. It is a hive file itself: with no process using the hive, and
// the hive's "-wal" and "-shm" files removed, it is put in the hive's place.
#pragma once

#include <string>

#include "hive/hive.h"

namespace hive {

inline constexpr const char* machine_backup_name = "machine.hive";
inline constexpr const char* user_backup_name = "user.hive";
inline constexpr const char* users_backup_name = "users.hive";

// The folder that backups go to, made when missing, for this user alone. A path that is no folder: exists.
Status make_backup_folder(const std::string& path);
// Replaces an earlier backup of that name, whole or not at all.
Status back_up(Hive& hive, const std::string& folder, const char* name);

}  // namespace hive
