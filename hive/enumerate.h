// Sub-keys and values by index, in the order of their folded names. The place of the last answer is kept as a
// name, so that going on costs the same at any index, and what was deleted or made meanwhile moves nothing:
// the next index continues behind that name, the index before goes back from it, the same index looks at it
// again or at what now stands behind it. Index 0 starts anew; any other is counted from the front.
#pragma once

#include <cstdint>

#include "hive/position.h"
#include "hive/registry.h"
#include "hive/store/connection.h"

namespace hive {

Status enumerate_key(Connection& connection, std::int64_t key, std::uint32_t index, Position& position, Text_Out& name,
                     Text_Out* class_name, std::uint64_t* out_last_write_time);
Status enumerate_value(Connection& connection, std::int64_t key, std::uint32_t index, Position& position,
                       Text_Out* name, Value_Out& value);

}  // namespace hive
