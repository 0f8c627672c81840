#include "hive/enumerate.h"

#include <mutex>
#include <string>

#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/statement.h"
#include "hive/text_out.h"
#include "hive/values.h"

namespace hive {
namespace {

// The four ways to a row.
struct Ways {
  Query from;
  Query after;
  Query before;
  Query at;
};

constexpr Ways child_ways = {Query::child_from, Query::child_after, Query::child_before, Query::child_at};
constexpr Ways value_ways = {Query::value_from, Query::value_after, Query::value_before, Query::value_at};

Query way_to(std::uint32_t index, const Position& position, const Ways& ways) {
  if (index == 0) return ways.from;
  if (!position.is_set) return ways.at;
  if (index == position.index) return ways.from;
  if (index == position.index + 1) return ways.after;
  if (index + 1 == position.index) return ways.before;
  return ways.at;
}

// name: the position's, in stored form; bound as long as the statement runs.
void bind_way(Statement& find, Query way, std::uint32_t index, std::string_view name, const Ways& ways) {
  if (way == ways.at) {
    find.bind(2, index);
  } else {
    find.bind(2, index == 0 ? std::string_view() : name);
  }
}

Status nothing_there(Connection& connection, std::int64_t key) {
  Status status = check_key(connection, key);
  return status == Status::ok ? Status::no_more_items : status;
}

// The row's name was just answered at this index. Of which state of the key is not known.
void remember(Position& position, std::uint32_t index, Statement& row) {
  position.set(index, units_of(row.text(0)), 0, 0);
}

}  // namespace

Status enumerate_key(Connection& connection, std::int64_t key, std::uint32_t index, Position& position, Text_Out& name,
                     Text_Out* class_name, std::uint64_t* out_last_write_time) {
  const std::lock_guard lock(position.lock);
  const std::string here = stored_form(position.folded);
  Query way = way_to(index, position, child_ways);
  Statement find(connection, way);
  find.bind(1, key).bind(3, connection.shows_volatile ? 1 : 0);
  bind_way(find, way, index, here, child_ways);
  if (!find.row()) return nothing_there(connection, key);
  bool fits = put_text(find.text(1), name);
  if (class_name != nullptr) fits = put_text(find.text(2), *class_name) && fits;
  if (out_last_write_time != nullptr) *out_last_write_time = static_cast<std::uint64_t>(find.number(3));
  remember(position, index, find);
  return fits ? Status::ok : Status::more_data;
}

Status enumerate_value(Connection& connection, std::int64_t key, std::uint32_t index, Position& position,
                       Text_Out* name, Value_Out& value) {
  const std::lock_guard lock(position.lock);
  const std::string here = stored_form(position.folded);
  Query way = way_to(index, position, value_ways);
  Statement find(connection, way);
  find.bind(1, key);
  bind_way(find, way, index, here, value_ways);
  if (!find.row()) return nothing_there(connection, key);
  bool fits = name == nullptr || put_text(find.text(1), *name);
  Status status = deliver_value(connection, find, 2, value);
  remember(position, index, find);
  return status == Status::ok && !fits ? Status::more_data : status;
}

}  // namespace hive
