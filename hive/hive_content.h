// What a hive starts with: the machine's has the roots of HKEY_USERS too, the user's takes what an image of
// an earlier one holds. Everything here works inside a transaction of its caller.
#pragma once

#include <string>

#include "hive/store/store.h"

namespace hive {

bool machine_is_incomplete(Connection& connection);
Status fill_machine(Connection& connection, Findings& findings);

bool user_is_incomplete(Connection& connection);
Status fill_user(Connection& connection, const std::string& image_file, Findings& findings);

}  // namespace hive
