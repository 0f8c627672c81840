#include "hive/watch/change_log.h"

#include <sqlite3.h>

#include <charconv>
#include <string>

#include "hive/keys.h"
#include "hive/store/meta.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

constexpr const char* tables =
    "CREATE TABLE IF NOT EXISTS change(number INTEGER PRIMARY KEY, ways INTEGER NOT NULL, keys TEXT NOT NULL);"
    "CREATE TABLE IF NOT EXISTS watcher(id INTEGER PRIMARY KEY, position INTEGER NOT NULL);";

constexpr const char* watcher_count = "watchers";

bool is_watched(Connection& connection) {
  if (connection.known.is_unwatched) return false;
  const bool watched = meta_number(connection, watcher_count) > 0;
  connection.known.is_unwatched = !watched;
  return watched;
}

// The key and those above it. A hive that is damaged may lead upwards for ever.
std::string chain_of(Connection& connection, std::int64_t key) {
  std::string chain;
  for (int depth = 0; key != 0 && depth <= max_key_depth; ++depth) {
    if (!chain.empty()) chain += ' ';
    chain += std::to_string(key);
    Statement up(connection, Query::parent_of);
    key = up.bind(1, key).row() ? up.number(0) : 0;
  }
  return chain;
}

std::vector<std::int64_t> numbers_in(std::string_view text) {
  std::vector<std::int64_t> numbers;
  const char* end = text.data() + text.size();
  for (const char* at = text.data(); at < end;) {
    std::int64_t number = 0;
    const std::from_chars_result read = std::from_chars(at, end, number);
    if (read.ec != std::errc()) break;
    numbers.push_back(number);
    at = read.ptr == end ? end : read.ptr + 1;
  }
  return numbers;
}

void append(Connection& connection, Ways ways, std::string_view chain) {
  Statement(connection, Query::add_change).bind(1, ways).bind(2, chain).run();
  connection.logged.any = true;
  if (sqlite3_last_insert_rowid(connection.handle()) % changes_between_cuts == 0) connection.logged.cut_is_due = true;
}

std::int64_t newest_change(Connection& connection) {
  Statement ends(connection, Query::change_ends);
  return ends.row() ? ends.number(1) : 0;
}

std::vector<std::int64_t> all_watchers(Connection& connection) {
  std::vector<std::int64_t> ids;
  Statement each(connection, Query::watchers);
  while (each.row()) ids.push_back(each.number(0));
  return ids;
}

Status count_watchers(Connection& connection) {
  return set_meta(connection, watcher_count, static_cast<std::int64_t>(all_watchers(connection).size()));
}

}  // namespace

void log_change(Connection& connection, std::int64_t key, Ways ways) {
  connection.note_changed(key);
  if (is_watched(connection)) append(connection, ways, chain_of(connection, key));
}

void log_removal(Connection& connection, std::int64_t key, std::int64_t parent) {
  connection.note_changed(key);
  connection.note_changed(parent);
  if (!is_watched(connection)) return;
  const std::string above = chain_of(connection, parent);
  append(connection, way_name, above);
  append(connection, way_removed, std::to_string(key) + " " + above);
}

// Who watches one of the keys that go needs no more of the chain than that key.
void log_replacement(Connection& connection, std::int64_t key) {
  connection.note_all_changed();
  if (!is_watched(connection)) return;
  const std::string chain = chain_of(connection, key);
  append(connection, all_ways, chain);
  std::vector<std::int64_t> gone;
  {
    Statement below(connection, Query::states_below);
    below.bind(1, key);
    while (below.row()) gone.push_back(below.number(0));
  }
  for (std::int64_t each : gone) append(connection, way_removed, std::to_string(each) + " " + chain);
}

Status add_watcher(Connection& connection, std::int64_t id) {
  connection.note_no_key_changed();
  if (connection.run_text(tables) != Status::ok) return connection.status();
  Statement(connection, Query::add_watcher).bind(1, id).bind(2, newest_change(connection)).run();
  return count_watchers(connection);
}

Status move_watcher(Connection& connection, std::int64_t id, std::int64_t position) {
  connection.note_no_key_changed();
  return Statement(connection, Query::move_watcher).bind(1, id).bind(2, position).run();
}

std::vector<std::int64_t> watchers(Connection& connection) {
  return is_watched(connection) ? all_watchers(connection) : std::vector<std::int64_t>{};
}

Status cut_change_log(Connection& connection, const std::vector<std::int64_t>& without) {
  connection.note_no_key_changed();
  if (!is_watched(connection)) return connection.status();
  for (std::int64_t id : without) Statement(connection, Query::drop_watcher).bind(1, id).run();
  if (!without.empty()) count_watchers(connection);
  Statement(connection, Query::drop_read_changes).run();
  return Statement(connection, Query::drop_old_changes).bind(1, longest_change_log).run();
}

Status read_change_log(Connection& connection, std::int64_t id, std::int64_t after, Log_Part* out) {
  *out = {};
  if (!is_watched(connection)) return connection.status();
  Statement mine(connection, Query::watcher_position);
  out->is_known = mine.bind(1, id).row();
  if (!out->is_known) return connection.status();
  out->position = mine.number(0);
  Statement ends(connection, Query::change_ends);
  if (ends.row()) {
    out->oldest = ends.number(0);
    out->newest = ends.number(1);
  }
  Statement changes(connection, Query::changes_after);
  changes.bind(1, after);
  while (changes.row()) out->changes.push_back({changes.number(0), changes.number32(1), numbers_in(changes.text(2))});
  return connection.status();
}

}  // namespace hive
