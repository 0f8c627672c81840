// A key with all below it, kept in memory so that it can be put back: names, classes, values and rights. Times and
// whether a key was volatile are not kept.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/kvreg/key.h"

namespace kvreg {

struct Saved_Key {
  std::u16string name;
  std::u16string class_name;
  Key_Rights rights;
  std::vector<Value> values;
  std::vector<Saved_Key> sub_keys;
};

// How much is kept at most.
struct Saved_Limits {
  std::size_t bytes = 16 * 1024 * 1024;
  std::size_t things = 100'000;  // keys and values
};

struct Saved_Tree {
  Saved_Key top;
  std::size_t keys = 0;
  std::size_t values = 0;
  std::size_t bytes = 0;  // of names and data
};

// Null when it is more than the limits. Throws Failure for what cannot be read.
std::optional<Saved_Tree> save_tree(const Key_Path& path, const Saved_Limits& limits = {});
// Puts it back at the path, where no key must be. Rights that cannot be given stay those of a new key.
void restore_tree(const Key_Path& path, const Saved_Key& saved);

}  // namespace kvreg
