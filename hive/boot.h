// Volatile keys last as long as the machine runs: they carry the identity of its present run, and those of an
// earlier one are removed by the first who opens the hive for writing.
#pragma once

#include <string>

#include "hive/store/connection.h"

namespace hive {

// Of the present run of the machine; settled at the first call.
const std::string& boot_identity();
// What boot_identity gives from now on. For tests, before any hive is open.
void assume_boot_identity(const std::string& identity);

// Removes what earlier runs left and notes the present one. In a writing transaction.
Status remove_stale_keys(Connection& connection);

}  // namespace hive
