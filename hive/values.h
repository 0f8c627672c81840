// Values as rows. Everything here works inside a transaction of its caller.
#pragma once

#include <cstdint>
#include <string_view>

#include "hive/registry.h"
#include "hive/store/statement.h"

namespace hive {

// Data above this lies in a table of its own, so that a key and its values stay on few pages.
inline constexpr std::uint32_t max_inline_size = 512;

Status read_value(Connection& connection, std::int64_t key, std::u16string_view name, Value_Out& value);
Status write_value(Connection& connection, std::int64_t key, std::u16string_view name, std::uint32_t type,
                   const unsigned char* data, std::uint32_t size);
Status remove_value(Connection& connection, std::int64_t key, std::u16string_view name);

// The row of a new or replaced value; the key's own row is left to the caller. old_large: the place of the
// data that is replaced, 0 when there is none.
struct Stored_Value {
  std::string_view folded;
  std::string_view name;
  std::uint32_t type;
  const unsigned char* data;
  std::uint32_t size;
};
Status put_value_row(Connection& connection, std::int64_t key, const Stored_Value& value, std::int64_t old_large);

// From a row's columns type, size, large, data, the first of which is given: into the caller's room. The
// answers are ok and more_data, and damaged when the data is not what the row says.
Status deliver_value(Connection& connection, Statement& row, int first_column, Value_Out& value);

// The data that lies in the other table, as long as the statement runs. False: it is not there as it should.
bool find_large(Statement& get_large, std::int64_t id, std::uint32_t size, std::string_view* out);

}  // namespace hive
