// Within a batch: by how much a key's own row is to grow for the values that were put below it one after the other. It
// is written once, before any statement that could look at the row or take it away, instead of with each value.
#pragma once

#include <cstdint>

namespace hive {

class Connection;
enum class Query;

struct Growth {
  std::int64_t key = 0;       // whose row is there, until something else runs; 0: of none
  bool is_due = false;        // something is to be written
  bool of_new_value = false;  // the last one was not there before
  std::uint32_t new_values = 0;
  std::uint32_t name_units = 0;  // of the longest name
  std::uint32_t size = 0;        // of the largest value
};

// Puts it off when the key's row is known to be there. False: it is to be written now.
bool put_off_growth(Connection& connection, const Growth& growth);

// Before a statement runs: writes what was put off, unless the statement neither looks at keys nor undoes everything.
void settle_growth(Connection& connection, Query next);
// The same before any other text runs.
void settle_growth(Connection& connection);

// Writes it now. False when there is no such key.
bool write_growth(Connection& connection, const Growth& growth);

}  // namespace hive
