// From key to key by name, through what is held in memory.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "hive/cache/cached_look.h"
#include "hive/store/connection.h"

namespace hive {

// Nothing when memory cannot tell; else as find_key of hive/keys.h.
std::optional<Status> find_path(const Cached_Look& look, std::int64_t at, std::u16string_view path, std::int64_t* out);
// The same within a reading transaction: what is missing is read, and kept if it may be.
Status find_path(Connection& connection, std::int64_t at, std::u16string_view path, std::int64_t* out);

}  // namespace hive
