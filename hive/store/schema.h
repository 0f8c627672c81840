// What a hive's file holds, and how a file is told to be one.
#pragma once

#include <cstdint>
#include <string>

#include "hive/status.h"
#include "hive/store/connection.h"

namespace hive {

inline constexpr std::int64_t root_key = 1;           // of every hive
inline constexpr std::int64_t users_key = 2;          // machine hive: the root of HKEY_USERS
inline constexpr std::int64_t default_user_key = 3;   // machine hive: HKEY_USERS\.DEFAULT
inline constexpr std::int64_t first_free_key = 1000;  // keys below it are made with the hive

// What the first bytes of a file say.
struct File_Look {
  bool empty = false;         // a hive is yet to be made of it
  bool has_log = false;       // changes go through a write-ahead log
  bool shares_memory = true;  // a log is possible
};

// Looks at a file that no connection of this process has open: ok, or why it is no hive to be used.
Status look_at_file(const std::string& file, std::uint32_t newest_version, File_Look* out, std::string* reason);

// Whether nothing is in the file, once what somebody left half done was undone.
bool is_empty(Connection& connection);
// Makes a hive of an empty file, unless another process has just done so.
Status make_hive(Connection& connection, mode_t root_mode);
// Changes go through a log from now on.
Status use_log(Connection& connection);
// Changes go through the file itself from now on, and what was in the log is in it. busy: somebody uses the hive.
Status give_up_log(const std::string& file, std::string* reason);

}  // namespace hive
