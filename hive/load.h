// A hive file as what a key is and holds.
#pragma once

#include <string>
#include <string_view>

#include "hive/foreign_hive.h"

namespace hive {

// Puts the file's root in the place of the key at a path, which is made when it is missing: its values and all keys
// below it go, volatile ones too, and it gets the root's class, values, rights, flags, last-write time and keys. Its
// number stays, so that it keeps its open handles. In a writing transaction of its caller, which ends without effect
// unless the answer is ok.
Status load_tree(Connection& connection, std::int64_t at, std::u16string_view path, Foreign_Hive& source);

// Removes the key that load_tree has made, with all below it; invalid for any other.
Status unload_tree(Connection& connection, std::int64_t key);

}  // namespace hive
