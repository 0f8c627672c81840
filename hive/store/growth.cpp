#include "hive/store/growth.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "hive/clock.h"
#include "hive/store/connection.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

bool is_of_values_alone(Query query) {
  switch (query) {
    case Query::add_value:
    case Query::rewrite_value:
    case Query::old_value:
    case Query::put_value:
    case Query::put_large:
    case Query::drop_large:
    case Query::take_ids:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool put_off_growth(Connection& connection, const Growth& growth) {
  Growth& known = connection.growth;
  if (growth.key == 0 || known.key != growth.key) return false;
  known.is_due = true;
  known.of_new_value = growth.new_values != 0;
  known.new_values += growth.new_values;
  known.name_units = std::max(known.name_units, growth.name_units);
  known.size = std::max(known.size, growth.size);
  return true;
}

void settle_growth(Connection& connection, Query next) {
  if (connection.growth.key == 0 || is_of_values_alone(next)) return;
  const Growth due = std::exchange(connection.growth, {});
  if (!due.is_due || next == Query::rollback) return;
  const bool had_changed = connection.changed_since_mark();
  write_growth(connection, due);
  if (!had_changed) connection.mark_changes();  // it is of earlier operations
}

void settle_growth(Connection& connection) { settle_growth(connection, Query::count); }

bool write_growth(Connection& connection, const Growth& growth) {
  {
    Statement grew(connection, Query::values_grew);
    grew.bind(1, growth.key).bind(2, connection.take_id()).bind(3, static_cast<std::int64_t>(file_time_now()));
    grew.bind(4, growth.new_values).bind(5, growth.name_units).bind(6, growth.size).run();
  }
  return connection.status() == Status::ok && sqlite3_changes(connection.handle()) != 0;
}

}  // namespace hive
