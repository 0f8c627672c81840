// Versions of a hive's tables. A hive of an older version is brought up to date by the first program that opens it
// and may write it, in one transaction; who may only read it reads it as it is. One of a later version is left alone.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "hive/status.h"
#include "hive/store/connection.h"

namespace hive {

// Statements that lead from each version to the next, the first of them from version 1. A step leaves tables that
// the statements of queries.def for reading run on, before it and after.
using Schema_Steps = std::span<const char* const>;
inline constexpr std::array<const char*, 0> schema_steps{};

inline constexpr std::uint32_t schema_version = 1 + static_cast<std::uint32_t>(schema_steps.size());

// As the transaction at hand sees it: the file's head may lag behind the log.
std::uint32_t stored_version(Connection& connection);

// Why a hive of a later version is refused.
std::string newer_version_text();

// Takes the steps that are left, if any; in a writing transaction of its caller.
Status bring_up_to_date(Connection& connection, Schema_Steps steps = schema_steps);

}  // namespace hive
