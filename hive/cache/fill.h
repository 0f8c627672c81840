// From a hive into memory, within a reading transaction whose findings may be kept, and in a Read_Section.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hive/cache/node.h"
#include "hive/store/connection.h"

namespace hive {

inline constexpr std::uint32_t max_kept_value_size = 4096;  // larger values are read each time
inline constexpr std::uint32_t max_kept_children = 1024;    // of a key with more only parts are held
inline constexpr std::uint32_t max_kept_values = 16384;
inline constexpr std::size_t max_kept_memory = 1u << 20;  // of one key's values

enum class Part { facts, values, children, all_values, all_children };

// The key as it is now. The part that is wanted may still be unknown: it is too much, or one of it was not asked
// for often enough; all of a part is unknown only when it is too much. key_deleted when there is no such key.
Status find_node(Connection& connection, std::int64_t key, Part wanted, const Node** out);

// Sub-keys behind a name, as many as are asked for at most.
std::shared_ptr<const Child_Names> read_children(Connection& connection, std::int64_t key, std::string_view after,
                                                 std::uint32_t most);

}  // namespace hive
