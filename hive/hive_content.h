// What the machine's hive starts with: it has the roots of HKEY_USERS too. That of all users starts with its root
// alone. Everything here works inside a transaction of its caller.
#pragma once

#include "hive/store/store.h"

namespace hive {

bool machine_is_incomplete(Connection& connection);
Status fill_machine(Connection& connection, Findings& findings);

bool users_are_incomplete(Connection& connection);
Status fill_users(Connection& connection, Findings& findings);

}  // namespace hive
