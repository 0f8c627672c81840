// What a key and all below it hold, in memory, and how two such differ.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "tools/kvreg/key.h"

namespace kvreg {

// A name without regard to case, as it is compared and ordered here.
std::u16string folded(std::u16string_view name);

struct Snapshot {
  std::u16string name;                          // as it is written; of the top of the tree its path
  std::map<std::u16string, Value> values;       // by folded names
  std::map<std::u16string, Snapshot> sub_keys;  // by folded names

  // Below here, made when missing.
  Snapshot& make(std::u16string_view path);
  void remove(std::u16string_view path);
};

// A key of the registry; without is_deep its values only. An absent key is an empty snapshot.
Snapshot snapshot_of(const Key_Path& path, bool is_deep);
// What a .reg file makes of an empty registry: its keys are below the long names of their roots.
Snapshot snapshot_of_reg_file(const std::string& file);

enum class Side { left, right, both };

// Told of each key and value that one side has alone, or both have and are the same. A key that one side has alone is
// told before what it holds. path is that below the tops, empty for the tops themselves; value is null for a key.
using Visit_Difference = std::function<void(Side side, const std::u16string& path, const Value* value)>;
void compare(const Snapshot& left, const Snapshot& right, const Visit_Difference& visit);

}  // namespace kvreg
