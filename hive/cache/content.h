// What readers ask of a key, each in two ways: from memory alone, which gives nothing when memory cannot tell,
// and within a reading transaction, which keeps what it finds if it may. The first way to a value is
// Registry::known_value.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "hive/open_key.h"
#include "hive/registry.h"
#include "hive/store/connection.h"

namespace hive {

Status find_value(Connection& connection, std::int64_t key, std::u16string_view name, Value_Out& value);

std::optional<Status> known_value_at(Open_Key& key, std::uint32_t index, Text_Out* name, Value_Out& value);
Status find_value_at(Connection& connection, std::int64_t key, std::uint32_t index, Position& position, Text_Out* name,
                     Value_Out& value);

std::optional<Status> known_child_at(Open_Key& key, std::uint32_t index, Text_Out& name, Text_Out* class_name,
                                     std::uint64_t* out_last_write_time);
Status find_child_at(Connection& connection, std::int64_t key, std::uint32_t index, Position& position, Text_Out& name,
                     Text_Out* class_name, std::uint64_t* out_last_write_time);

struct Key_Info {
  Key_Counts counts{};
  Key_Rights rights{};
};
std::optional<Status> known_info(const Open_Key& key, Text_Out* class_name, Key_Info* out);
Status find_info(Connection& connection, std::int64_t key, Text_Out* class_name, Key_Info* out);

}  // namespace hive
