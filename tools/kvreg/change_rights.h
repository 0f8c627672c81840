// The rights of a key, or of it and all below it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/kvreg/key.h"

namespace kvreg {

// A property that is null stays as it is.
struct Rights_Change {
  std::optional<DWORD> mode;
  std::optional<DWORD> owner;
  std::optional<DWORD> group;
};

// For each key, and with is_deep all below it, before those below are visited: what to change, by the rights that it
// has.
void change_rights(const std::vector<std::string>& keys, bool is_deep,
                   const std::function<Rights_Change(const Key_Rights&)>& change);

}  // namespace kvreg
