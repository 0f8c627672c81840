#include "hive/values.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>

#include "hive/clock.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/growth.h"
#include "hive/watch/change_log.h"

namespace hive {
namespace {

struct Old_Value {
  bool is_there = false;
  std::uint32_t size = 0;
  std::int64_t large = 0;
};

Old_Value find_old(Connection& connection, std::int64_t key, std::string_view folded) {
  Old_Value old;
  Statement find(connection, Query::old_value);
  if (!find.bind(1, key).bind(2, folded).row()) return old;
  old = {true, find.number32(0), find.number(1)};
  return old;
}

std::uint32_t largest_of_values(Connection& connection, Query query, std::int64_t key, std::uint32_t bound) {
  Statement rows(connection, query);
  rows.bind(1, key);
  return largest(rows, bound);
}

Status note_change(Connection& connection, std::int64_t key, const Key_Row& row) {
  Statement changed(connection, Query::values_changed);
  changed.bind(1, key).bind(2, connection.take_id()).bind(3, static_cast<std::int64_t>(file_time_now()));
  changed.bind(4, row.values).bind(5, row.max_value_name_units).bind(6, row.max_value_size);
  log_change(connection, key, way_last_set);
  return changed.run();
}

std::int64_t put_large(Connection& connection, const unsigned char* data, std::uint32_t size) {
  Statement put(connection, Query::put_large);
  put.bind_data(1, data, size).run();
  return sqlite3_last_insert_rowid(connection.handle());
}

// The maximum of the sizes after one of them changed; the rows are as they are now.
void update_max_size(Connection& connection, std::int64_t key, Key_Row& row, const Old_Value& old, std::uint32_t size) {
  bool longest_went = old.is_there && old.size == row.max_value_size && size < old.size;
  if (longest_went) {
    row.max_value_size = largest_of_values(connection, Query::value_sizes, key, row.max_value_size);
  } else {
    row.max_value_size = std::max(row.max_value_size, size);
  }
}

Status damaged(Connection& connection) {
  connection.note(SQLITE_CORRUPT);
  return Status::damaged;
}

// The longest value may go with it.
Status write_shorter(Connection& connection, std::int64_t key, const Stored_Value& value, const Old_Value& old,
                     std::uint32_t units) {
  Key_Row row;
  const Status status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  put_value_row(connection, key, value, old.large);
  row.max_value_name_units = std::max(row.max_value_name_units, units);
  update_max_size(connection, key, row, old, value.size);
  return note_change(connection, key, row);
}

// The key's own row: counts and maxima can only grow.
Status note_growth(Connection& connection, const Growth& growth) {
  if (put_off_growth(connection, growth)) return Status::ok;
  if (!write_growth(connection, growth)) return connection.failed_or(Status::key_deleted);
  if (connection.is_in_batch()) connection.growth = {.key = growth.key, .of_new_value = growth.new_values != 0};
  return Status::ok;
}

// The commonest write: of a value that is there, and whose data stands in its row before and after.
bool rewrite_in_place(Connection& connection, std::int64_t key, const Stored_Value& value) {
  if (value.size > max_inline_size) return false;
  Statement rewrite(connection, Query::rewrite_value);
  rewrite.bind(1, key).bind(2, value.folded).bind(3, value.type).bind(4, value.size);
  rewrite.bind_data(5, value.data, value.size).run();
  return sqlite3_changes(connection.handle()) != 0 && connection.status() == Status::ok;
}

// Among many new ones of a key whose row is known to be there.
bool add_another(Connection& connection, std::int64_t key, const Stored_Value& value) {
  const Growth& known = connection.growth;
  if (known.key != key || !known.of_new_value || value.size > max_inline_size) return false;
  Statement add(connection, Query::add_value);
  add.bind(1, key).bind(2, value.folded).bind(3, value.name).bind(4, value.type).bind(5, value.size);
  add.bind_data(6, value.data, value.size).run();
  return sqlite3_changes(connection.handle()) != 0 && connection.status() == Status::ok;
}

Status write_longer(Connection& connection, std::int64_t key, const Stored_Value& value, const Old_Value& old,
                    const Growth& growth) {
  const Status noted = note_growth(connection, growth);
  if (noted != Status::ok) return noted;
  put_value_row(connection, key, value, old.large);
  log_change(connection, key, way_last_set);
  return connection.status();
}

}  // namespace

bool find_large(Statement& get_large, std::int64_t id, std::uint32_t size, std::string_view* out) {
  if (!get_large.bind(1, id).row()) return false;
  *out = get_large.data(0);
  return out->size() == size;
}

Status deliver_value(Connection& connection, Statement& row, int first_column, Value_Out& value) {
  value.type = row.number32(first_column);
  value.size = row.number32(first_column + 1);
  if (value.data == nullptr) return Status::ok;
  if (value.size > value.room) return Status::more_data;
  Statement get_large(connection, Query::get_large);
  std::string_view data;
  if (row.is_null(first_column + 2)) {
    data = row.data(first_column + 3);
    if (data.size() != value.size) return damaged(connection);
  } else if (!find_large(get_large, row.number(first_column + 2), value.size, &data)) {
    return damaged(connection);
  }
  std::copy(data.begin(), data.end(), value.data);
  return Status::ok;
}

Status read_value(Connection& connection, std::int64_t key, std::u16string_view name, Value_Out& value) {
  if (name.size() > max_value_name_units) return Status::not_found;
  std::string folded = folded_form(name);
  if (!connection.shows_volatile && check_key(connection, key) != Status::ok) {
    return connection.failed_or(Status::key_deleted);
  }
  Statement find(connection, Query::value_row);
  if (find.bind(1, key).bind(2, folded).row()) return deliver_value(connection, find, 0, value);
  Status status = check_key(connection, key);
  return status == Status::ok ? Status::not_found : status;
}

Status put_value_row(Connection& connection, std::int64_t key, const Stored_Value& value, std::int64_t old_large) {
  if (old_large != 0) Statement(connection, Query::drop_large).bind(1, old_large).run();
  bool is_large = value.size > max_inline_size;
  std::int64_t large = is_large ? put_large(connection, value.data, value.size) : 0;
  Statement put(connection, Query::put_value);
  put.bind(1, key).bind(2, value.folded).bind(3, value.name).bind(4, value.type).bind(5, value.size);
  is_large ? put.bind(6, large).bind_null(7) : put.bind_null(6).bind_data(7, value.data, value.size);
  return put.run();
}

Status write_value(Connection& connection, std::int64_t key, std::u16string_view name, std::uint32_t type,
                   const unsigned char* data, std::uint32_t size) {
  if (name.size() > max_value_name_units) return Status::invalid;
  if (size > max_value_size) return Status::too_large;
  const std::string folded = folded_form(name);
  const std::string stored = stored_form(name);
  const Stored_Value value{folded, stored, type, data, size};
  Growth growth{.key = key, .name_units = static_cast<std::uint32_t>(name.size()), .size = size};
  const bool is_another = add_another(connection, key, value);
  if (is_another || rewrite_in_place(connection, key, value)) {
    log_change(connection, key, way_last_set);
    growth.new_values = is_another ? 1 : 0;
    return note_growth(connection, growth);
  }
  const Old_Value old = find_old(connection, key, folded);
  growth.new_values = old.is_there ? 0 : 1;
  return old.is_there && size < old.size ? write_shorter(connection, key, value, old, growth.name_units)
                                         : write_longer(connection, key, value, old, growth);
}

Status remove_value(Connection& connection, std::int64_t key, std::u16string_view name) {
  Key_Row row;
  Status status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  std::string folded = folded_form(name);
  Old_Value old = find_old(connection, key, folded);
  if (!old.is_there) return connection.failed_or(Status::not_found);
  if (old.large != 0) Statement(connection, Query::drop_large).bind(1, old.large).run();
  Statement(connection, Query::drop_value).bind(1, key).bind(2, folded).run();
  --row.values;
  if (name.size() == row.max_value_name_units) {
    row.max_value_name_units = largest_of_values(connection, Query::value_name_units, key, row.max_value_name_units);
  }
  if (old.size == row.max_value_size) {
    row.max_value_size = largest_of_values(connection, Query::value_sizes, key, row.max_value_size);
  }
  return note_change(connection, key, row);
}

}  // namespace hive
