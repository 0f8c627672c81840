// Looks a hive through and names what does not hold together: the file's structure, as SQLite sees it, and what
// tables alone do not say. Reading only; its cost grows with the hive.
#pragma once

#include <vector>

#include "hive/fault.h"
#include "hive/store/connection.h"

namespace hive {

// No more than this many are told.
inline constexpr std::size_t max_found_faults = 1000;

// Everything that was found; nothing in a good hive. In a transaction of its caller. The status tells whether the
// hive could be looked through: what keeps SQLite from it is told as a fault of its structure, too.
Status check_hive(Connection& connection, std::vector<Found_Fault>* out, Hive_Counts* out_counts);

}  // namespace hive
