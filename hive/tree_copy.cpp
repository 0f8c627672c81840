#include "hive/tree_copy.h"

#include <sqlite3.h>

#include <algorithm>

#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/statement.h"
#include "hive/values.h"

namespace hive {
namespace {

constexpr char16_t separator = u'\\';

// The keys from the top down to the one at hand, each with the name of the sub-key last shown.
struct Level {
  std::int64_t key;
  std::string last_child;
};

std::uint32_t lasting(std::uint32_t flags) { return flags & ~key_flag_loaded; }

Status show_values(Connection& connection, std::int64_t key, Tree_Visitor& visitor) {
  Statement values(connection, Query::values_of_key);
  values.bind(1, key);
  while (values.row()) {
    std::u16string name = units_of(values.text(0));
    Statement get_large(connection, Query::get_large);
    std::string_view data = values.data(4);
    bool whole = values.is_null(3) || find_large(get_large, values.number(3), values.number32(2), &data);
    if (!whole) connection.note(SQLITE_CORRUPT);
    if (connection.status() != Status::ok) return connection.status();
    Value_Record record{name, values.number32(1), reinterpret_cast<const unsigned char*>(data.data()),
                        static_cast<std::uint32_t>(data.size())};
    Status status = visitor.value(record);
    if (status != Status::ok) return status;
  }
  return connection.status();
}

Status show_top(Connection& connection, std::int64_t key, Tree_Visitor& visitor) {
  Key_Row row;
  Status status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  std::u16string class_name = units_of(row.class_name);
  status = visitor.begin_key({{}, class_name, row.written, row.mode, row.owner, row.group, lasting(row.flags)});
  return status == Status::ok ? show_values(connection, key, visitor) : status;
}

// Shows the next sub-key of the last level and adds a level for it; *out_more is false when there is none.
Status show_next_child(Connection& connection, std::vector<Level>& levels, Tree_Visitor& visitor, bool* out_more) {
  std::int64_t child = 0;
  {
    Statement next(connection, Query::next_lasting_child);
    *out_more = next.bind(1, levels.back().key).bind(2, levels.back().last_child).row();
    if (!*out_more) return connection.status();
    child = next.number(0);
    std::u16string name = units_of(next.text(2));
    std::u16string class_name = units_of(next.text(3));
    std::string folded(next.text(1));
    Status status = visitor.begin_key({name, class_name, static_cast<std::uint64_t>(next.number(4)), next.number32(5),
                                       next.number32(6), next.number32(7), lasting(next.number32(8))});
    if (status != Status::ok) return status;
    levels.back().last_child = std::move(folded);
  }
  levels.push_back({child, {}});
  return show_values(connection, child, visitor);
}

bool is_child_name(std::u16string_view name) {
  return !name.empty() && name.size() <= max_key_name_units && name.find(separator) == name.npos;
}

bool has_row(Connection& connection, Query query, std::int64_t key, std::string_view folded) {
  return Statement(connection, query).bind(1, key).bind(2, folded).row();
}

}  // namespace

Status walk_tree(Connection& connection, std::int64_t key, Tree_Visitor& visitor) {
  Status status = show_top(connection, key, visitor);
  std::vector<Level> levels{{key, {}}};
  while (status == Status::ok && !levels.empty()) {
    bool more = false;
    status = show_next_child(connection, levels, visitor, &more);
    if (status != Status::ok || more) continue;
    levels.pop_back();
    status = visitor.end_key();
  }
  return status;
}

Status Tree_Writer::begin_top(const Key_Record& key) {
  connection_.note_all_changed();
  std::string class_name = stored_form(key.class_name);
  Statement set(connection_, Query::set_key_record);
  set.bind(1, root_).bind(2, connection_.take_id()).bind(3, class_name);
  set.bind(4, static_cast<std::int64_t>(key.last_write_time)).bind(5, key.mode).bind(6, key.owner);
  set.bind(7, key.group).bind(8, key.flags);
  levels_.push_back({root_});
  return set.run();
}

Status Tree_Writer::begin_key(const Key_Record& key) {
  if (levels_.empty()) return begin_top(key);
  Level& parent = levels_.back();
  std::string folded = folded_form(key.name);
  if (!is_child_name(key.name) || levels_.size() > max_key_depth || key.class_name.size() > max_class_units) {
    return Status::damaged;
  }
  if (depth_ + levels_.size() > max_key_depth) return Status::invalid;
  if (has_row(connection_, Query::find_child, parent.key, folded)) return Status::damaged;
  std::string name = stored_form(key.name);
  std::string class_name = stored_form(key.class_name);
  std::int64_t number = insert_key(connection_, {parent.key, name, folded, class_name, key.last_write_time, key.mode,
                                                 key.owner, key.group, key.flags, false});
  ++parent.children;
  parent.max_child_units = std::max(parent.max_child_units, static_cast<std::uint32_t>(key.name.size()));
  parent.max_class_units = std::max(parent.max_class_units, static_cast<std::uint32_t>(key.class_name.size()));
  levels_.push_back({number});
  return connection_.status();
}

Status Tree_Writer::value(const Value_Record& value) {
  if (levels_.empty() || value.name.size() > max_value_name_units || value.size > max_value_size) {
    return Status::damaged;
  }
  Level& level = levels_.back();
  std::string folded = folded_form(value.name);
  if (has_row(connection_, Query::old_value, level.key, folded)) return Status::damaged;
  std::string name = stored_form(value.name);
  ++level.values;
  level.max_value_name_units = std::max(level.max_value_name_units, static_cast<std::uint32_t>(value.name.size()));
  level.max_value_size = std::max(level.max_value_size, value.size);
  return put_value_row(connection_, level.key, {folded, name, value.type, value.data, value.size}, 0);
}

Status Tree_Writer::end_key() {
  if (levels_.empty()) return Status::damaged;
  const Level& level = levels_.back();
  Statement set(connection_, Query::set_key_counts);
  set.bind(1, level.key).bind(2, level.children).bind(3, level.values).bind(4, level.max_child_units);
  set.bind(5, level.max_class_units).bind(6, level.max_value_name_units).bind(7, level.max_value_size);
  set.run();
  levels_.pop_back();
  return connection_.status();
}

}  // namespace hive
