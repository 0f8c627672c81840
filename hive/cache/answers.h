// What a node answers. Nothing when it does not know enough; the answers are those of hive/values.h and
// hive/enumerate.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "hive/cache/node.h"
#include "hive/position.h"
#include "hive/registry.h"

namespace hive {

std::optional<Status> answer_value(const Node& node, std::u16string_view name, Value_Out& value);
std::optional<Status> answer_value_at(const Node& node, std::uint32_t index, Position& position, Text_Out* name,
                                      Value_Out& value);

// The sub-key that is answered is told by its number.
std::optional<Status> answer_child_at(const Node& node, std::uint32_t index, Position& position, Text_Out& name,
                                      Text_Out* class_name, std::int64_t* out_child);
Status show_child(const Child_Names& list, const Cached_Child& child, Text_Out& name, Text_Out* class_name);

}  // namespace hive
