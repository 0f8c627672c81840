#include "hive/keys.h"

#include <algorithm>

#include "hive/boot.h"
#include "hive/clock.h"
#include "hive/name.h"
#include "hive/store/schema.h"
#include "hive/store/statement.h"
#include "hive/tree.h"
#include "hive/watch/change_log.h"

namespace hive {
namespace {

std::uint32_t units(std::string_view stored) { return static_cast<std::uint32_t>(count_units(stored)); }

// 0 when there is none that may be seen.
std::int64_t find_child(Connection& connection, std::int64_t parent, std::string_view folded) {
  std::int64_t child = 0;
  {
    Statement find(connection, Query::find_child);
    if (find.bind(1, parent).bind(2, folded).row()) child = find.number(0);
  }
  return child != 0 && check_key(connection, child) != Status::ok ? 0 : child;
}

// In a hive whose volatile keys are all current there is no need to look at each.
std::int64_t find_shown_child(Connection& connection, std::int64_t parent, std::string_view folded) {
  if (!connection.shows_volatile) return find_child(connection, parent, folded);
  Statement find(connection, Query::find_child);
  return find.bind(1, parent).bind(2, folded).row() ? find.number(0) : 0;
}

// How far a path leads: the last key that is there, and whether parts are left.
struct Progress {
  std::int64_t key;
  bool found_all;
};

Status follow(Connection& connection, Path_Parts& parts, Progress* progress, std::u16string_view* missing) {
  while (parts.more()) {
    *missing = parts.next();
    if (missing->size() > max_key_name_units) return Status::invalid;
    std::int64_t child = find_shown_child(connection, progress->key, folded_form(*missing));
    if (child == 0) {
      progress->found_all = false;
      return connection.status();
    }
    progress->key = child;
  }
  progress->found_all = true;
  return connection.status();
}

Status find_parent(Connection& connection, std::int64_t key, Connection::Parent* out) {
  *out = connection.known.parent;
  if (out->key == key) return Status::ok;
  Key_Row row;
  const Status status = read_key(connection, key, &row);
  *out = {key, row.is_volatile, row.children, row.max_child_units, row.max_class_units, row.mode, row.owner, row.group};
  return status;
}

Status note_new_child(Connection& connection, Connection::Parent parent, const New_Key& child) {
  ++parent.children;
  parent.max_child_units = std::max(parent.max_child_units, units(child.folded));
  parent.max_class_units = std::max(parent.max_class_units, units(child.class_name));
  {
    Statement changed(connection, Query::children_changed);
    changed.bind(1, parent.key).bind(2, connection.take_id()).bind(3, static_cast<std::int64_t>(child.written));
    changed.bind(4, parent.children).bind(5, parent.max_child_units).bind(6, parent.max_class_units).run();
  }
  log_change(connection, parent.key, way_name);
  if (connection.status() == Status::ok) connection.known.parent = parent;
  return connection.status();
}

std::uint32_t largest_of_children(Connection& connection, Query query, std::int64_t parent, std::uint32_t bound) {
  Statement rows(connection, query);
  rows.bind(1, parent);
  return largest(rows, bound);
}

// A maximum is looked for only when the child that went was as large as it.
Status note_lost_child(Connection& connection, std::int64_t parent, const Key_Row& child) {
  Key_Row row;
  if (read_key(connection, parent, &row) != Status::ok) return connection.failed_or(Status::damaged);
  if (units(child.folded) == row.max_child_units) {
    row.max_child_units = largest_of_children(connection, Query::child_name_units, parent, row.max_child_units);
  }
  if (row.max_class_units > 0 && units(child.class_name) == row.max_class_units) {
    row.max_class_units = largest_of_children(connection, Query::child_class_units, parent, row.max_class_units);
  }
  Statement changed(connection, Query::children_changed);
  changed.bind(1, parent).bind(2, connection.take_id()).bind(3, static_cast<std::int64_t>(file_time_now()));
  changed.bind(4, row.children - 1).bind(5, row.max_child_units).bind(6, row.max_class_units);
  return changed.run();
}

// Whether all that is missing of a path may be made, so that nothing fails half-way.
bool may_be_made(Path_Parts parts, int depth_of_last) {
  while (parts.more()) {
    if (parts.next().size() > max_key_name_units) return false;
    ++depth_of_last;
  }
  return depth_of_last <= max_key_depth;
}

// The key's own rows; its sub-keys are gone.
Status drop_key(Connection& connection, std::int64_t key, const Key_Row& row) {
  Statement(connection, Query::drop_large_of_key).bind(1, key).run();
  Statement(connection, Query::drop_key).bind(1, key).run();
  log_removal(connection, key, row.parent);
  return note_lost_child(connection, row.parent, row);
}

Status note_renamed_child(Connection& connection, std::int64_t parent, std::string_view before, std::string_view now) {
  Key_Row row;
  if (read_key(connection, parent, &row) != Status::ok) return connection.failed_or(Status::damaged);
  const std::uint32_t longest = std::max(row.max_child_units, units(now));
  const bool longest_went = units(before) == row.max_child_units;
  const std::uint32_t max_units =
      longest_went ? largest_of_children(connection, Query::child_name_units, parent, longest) : longest;
  Statement changed(connection, Query::children_changed);
  changed.bind(1, parent).bind(2, connection.take_id()).bind(3, static_cast<std::int64_t>(file_time_now()));
  changed.bind(4, row.children).bind(5, max_units).bind(6, row.max_class_units);
  return changed.run();
}

// One part of a path that is made: a sub-key of *key, which becomes it.
Status create_child(Connection& connection, std::int64_t* key, std::u16string_view name, const Creation& creation,
                    bool is_last) {
  Connection::Parent parent;
  Status status = find_parent(connection, *key, &parent);
  if (status != Status::ok) return status;
  if (parent.is_volatile && !creation.is_volatile) return Status::must_be_volatile;
  std::string stored = stored_form(name);
  std::string folded = folded_form(name);
  std::string class_name = is_last ? stored_form(creation.class_name) : std::string();
  New_Key child{*key,
                stored,
                folded,
                class_name,
                file_time_now(),
                creation.mode.value_or(parent.mode),
                creation.owner.value_or(parent.owner),
                creation.group.value_or(parent.group),
                is_last && creation.is_link ? key_flag_link : 0,
                creation.is_volatile};
  std::int64_t number = insert_key(connection, child);
  status = note_new_child(connection, parent, child);
  *key = number;
  return status;
}

}  // namespace

Status check_key(Connection& connection, std::int64_t key) {
  Statement ask(connection, Query::key_exists);
  if (!ask.bind(1, key).row()) return connection.failed_or(Status::key_deleted);
  return ask.number(0) != 0 && !connection.shows_volatile ? Status::key_deleted : Status::ok;
}

Status read_key(Connection& connection, std::int64_t key, Key_Row* out) {
  Statement get(connection, Query::key_row);
  if (!get.bind(1, key).row()) return connection.failed_or(Status::key_deleted);
  *out = {
      get.number(0),    std::string(get.text(1)), std::string(get.text(2)), static_cast<std::uint64_t>(get.number(3)),
      get.number32(4),  get.number32(5),          get.number32(6),          get.number32(7),
      get.number32(8),  get.number32(9),          get.number32(10),         get.number32(11),
      get.number32(12), get.number32(13),         get.number(14) != 0};
  return out->is_volatile && !connection.shows_volatile ? Status::key_deleted : Status::ok;
}

Status find_key(Connection& connection, std::int64_t at, std::u16string_view path, std::int64_t* out) {
  Path_Parts parts(path);
  Progress progress{at, false};
  std::u16string_view missing;
  Status status = follow(connection, parts, &progress, &missing);
  if (status != Status::ok) return status;
  if (progress.key == at) {
    status = check_key(connection, at);
    if (status != Status::ok) return status;
  }
  *out = progress.key;
  return progress.found_all ? Status::ok : Status::not_found;
}

Status create_key(Connection& connection, std::int64_t at, std::u16string_view path, const Creation& creation,
                  std::int64_t* out, bool* out_created) {
  Path_Parts parts(path);
  Progress progress{at, false};
  std::u16string_view name;
  *out_created = false;
  Status status = follow(connection, parts, &progress, &name);
  // Who makes a key reads its parent's row anyway.
  if (status == Status::ok && progress.key == at && progress.found_all) status = check_key(connection, at);
  if (creation.class_name.size() > max_class_units) return Status::invalid;
  if (status != Status::ok) return status;
  if (!progress.found_all && !may_be_made(parts, depth_of(connection, progress.key) + 1)) return Status::invalid;
  while (status == Status::ok && !progress.found_all) {
    bool is_last = !parts.more();
    status = create_child(connection, &progress.key, name, creation, is_last);
    *out_created = progress.found_all = is_last;
    if (!is_last) name = parts.next();
  }
  *out = progress.key;
  return status;
}

Status remove_key(Connection& connection, std::int64_t key) {
  Key_Row row;
  Status status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  if (row.parent == 0) return Status::denied;
  return row.children > 0 ? Status::has_children : drop_key(connection, key, row);
}

Status remove_tree(Connection& connection, std::int64_t key) {
  Key_Row row;
  Status status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  if (row.parent == 0) return Status::denied;
  log_replacement(connection, key);
  status = remove_content(connection, key);
  return status == Status::ok ? drop_key(connection, key, row) : status;
}

Status rename_key(Connection& connection, std::int64_t key, std::u16string_view name) {
  if (name.empty() || name.size() > max_key_name_units || name.find(u'\\') != name.npos) return Status::invalid;
  Key_Row row;
  const Status status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  if (row.parent == 0 || row.parent == users_key) return Status::denied;
  const std::string folded = folded_form(name);
  if (folded != row.folded && find_child(connection, row.parent, folded) != 0) return Status::exists;
  const std::string stored = stored_form(name);
  const auto now = static_cast<std::int64_t>(file_time_now());
  {
    Statement rename(connection, Query::rename_key);
    rename.bind(1, key).bind(2, folded).bind(3, stored).bind(4, connection.take_id()).bind(5, now).run();
  }
  connection.note_changed(key);
  log_change(connection, row.parent, way_name);
  return note_renamed_child(connection, row.parent, row.folded, folded);
}

// A key never moves to another depth.
int depth_of(Connection& connection, std::int64_t key) {
  if (connection.known.key_of_depth == key) return connection.known.depth;
  int depth = -1;
  for (std::int64_t above = key; above != 0 && depth < max_key_depth; ++depth) {
    Statement up(connection, Query::parent_of);
    above = up.bind(1, above).row() ? up.number(0) : 0;
  }
  connection.known.key_of_depth = key;
  connection.known.depth = depth;
  return depth;
}

Status remove_content(Connection& connection, std::int64_t key) {
  Statement(connection, Query::drop_large_below).bind(1, key).run();
  Statement(connection, Query::drop_below).bind(1, key).run();
  return Statement(connection, Query::drop_values).bind(1, key).run();
}

Status note_changed_class(Connection& connection, std::int64_t parent) {
  Key_Row row;
  if (read_key(connection, parent, &row) != Status::ok) return connection.failed_or(Status::damaged);
  std::uint32_t longest = largest_of_children(connection, Query::child_class_units, parent, max_class_units);
  Statement changed(connection, Query::children_changed);
  changed.bind(1, parent).bind(2, connection.take_id()).bind(3, static_cast<std::int64_t>(row.written));
  changed.bind(4, row.children).bind(5, row.max_child_units).bind(6, longest);
  return changed.run();
}

std::int64_t insert_key(Connection& connection, const New_Key& key) {
  std::int64_t number = connection.take_id();
  return insert_key_as(connection, number, key) == Status::ok ? number : 0;
}

Status insert_key_as(Connection& connection, std::int64_t number, const New_Key& key) {
  Statement insert(connection, Query::insert_key);
  insert.bind(1, number).bind(2, key.folded).bind(3, key.name);
  key.parent == 0 ? insert.bind_null(4) : insert.bind(4, key.parent);
  insert.bind(5, key.class_name).bind(6, static_cast<std::int64_t>(key.written)).bind(7, connection.take_id());
  insert.bind(8, key.mode).bind(9, key.owner).bind(10, key.group).bind(11, key.flags);
  key.is_volatile ? insert.bind(12, boot_identity()) : insert.bind_null(12);
  return insert.run();
}

Status count_children_anew(Connection& connection, std::int64_t key) {
  Key_Row row;
  if (read_key(connection, key, &row) != Status::ok) return connection.status();
  Statement count(connection, Query::lasting_child_counts);
  if (!count.bind(1, key).row()) return connection.status();
  Statement changed(connection, Query::children_changed);
  changed.bind(1, key).bind(2, connection.take_id()).bind(3, static_cast<std::int64_t>(row.written));
  changed.bind(4, count.number(0)).bind(5, count.number(1)).bind(6, count.number(2));
  return changed.run();
}

std::uint32_t largest(Statement& rows, std::uint32_t known_bound) {
  std::uint32_t found = 0;
  while (found < known_bound && rows.row()) found = std::max(found, rows.number32(0));
  return found;
}

}  // namespace hive
