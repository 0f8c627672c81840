// Making durable what was committed.
#pragma once

#include "hive/store/connection.h"

namespace hive {

// Everything committed so far on the disk: the log is brought into the file as far as other processes let us,
// and what is left of it is synchronised itself. Outside of a transaction.
Status flush_to_disk(Connection& connection);

}  // namespace hive
