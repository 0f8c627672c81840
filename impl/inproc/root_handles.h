// Which root a handle stands for.
#pragma once

#include <windef.h>

#include <cstdint>
#include <optional>

#include "hive/registry.h"

namespace impl {

// The root that a handle stands for, zero-extended or sign-extended from 32 bits; none for any other.
std::optional<hive::Root> predefined_root(std::uint32_t handle);
inline std::optional<hive::Root> root_of(HKEY handle) {
  const auto number = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(handle));
  const auto low_half = static_cast<std::uint32_t>(number);
  const bool is_extended = number == low_half || number == static_cast<std::int32_t>(low_half);
  if (!is_extended || low_half < 0x80000000u) return std::nullopt;
  return predefined_root(low_half);
}

}  // namespace impl
