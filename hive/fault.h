// What can be wrong with a hive.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace hive {

enum class Fault {
  structure,     // pages, rows and indexes of the file
  meta,          // a fact about the hive as a whole is missing or none
  number,        // a number of a key or of a state that was not given out
  root,          // a root is missing, or there is one too many
  parent,        // the key above is missing
  cycle,         // a key that no root leads to
  depth,         // deeper than a hive may be
  volatility,    // a lasting key below a volatile one
  counts,        // a key's numbers of sub-keys and values
  maxima,        // a key's longest lengths
  name,          // a name, a class or a folded name
  lost_value,    // a value of no key
  data,          // a value's data: missing, of another size, or shared
  unused_large,  // data of no value
};

struct Found_Fault {
  Fault fault;
  std::int64_t key;  // 0: of no key
  std::string text;  // one line
  // Of the key from the root of its hive, "HKEY_USERS" first below that root; nothing where no root leads to it.
  std::optional<std::u16string> path = std::nullopt;
  std::optional<std::u16string> value = std::nullopt;  // its name, where it is about one
};

// What a hive holds. Roots are keys; sizes are in bytes.
struct Hive_Counts {
  std::uint64_t keys = 0;
  std::uint64_t volatile_keys = 0;  // of them
  std::uint64_t values = 0;
  std::uint64_t data_size = 0;
};

}  // namespace hive
