// Looking the hives through before they are served.
#pragma once

#include <string>

namespace regss {

// The machine's hive, and that of the server's user or, with a file, the one that all users share. Each fault is said.
// False with the reason when there is one, or when a hive cannot be looked through.
bool check_hives(const std::string& file_of_users, std::string* out_reason);

}  // namespace regss
