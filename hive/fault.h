// What can be wrong with a hive.
#pragma once

#include <cstdint>
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
};

}  // namespace hive
