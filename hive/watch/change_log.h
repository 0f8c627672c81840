// The log of changes in a hive: written in the transaction of each change, and only while somebody watches; read by
// watchers from where they have read before. Its tables are made by the first watcher of a hive:
//
//   change   number  counts up; the newest row always stays, so that no number is given twice
//            ways    how the key changed
//            keys    the key, its parent, and so on up to the root, between blanks
//   watcher  id        of a process that watches
//            position  number of the last change that it has read
//
// How many watchers there are stands in the hive's meta as "watchers". A log is cut behind the last position, and to
// its newest few thousand rows; who has not read those that went knows by the numbers.
#pragma once

#include <cstdint>
#include <vector>

#include "hive/store/connection.h"
#include "hive/watch/watch.h"

namespace hive {

// The key itself is gone; stands in logs beside the ways.
inline constexpr Ways way_removed = 16;

// How often a log is looked after, and how long it becomes when a reader stays away, in rows.
inline constexpr std::int64_t changes_between_cuts = 64;
inline constexpr std::int64_t longest_change_log = 4096;

struct Change {
  std::int64_t number = 0;
  Ways ways = 0;
  std::vector<std::int64_t> keys;  // the key that changed first, then those above it
};

// The transaction's changes are noted in its connection too, for those who hold copies of keys.

// In the transaction that changes the key, which is there.
void log_change(Connection& connection, std::int64_t key, Ways ways);
// The same for a key that was removed.
void log_removal(Connection& connection, std::int64_t key, std::int64_t parent);
// The same for a key that becomes another one, while the keys below it, which go, are still there.
void log_replacement(Connection& connection, std::int64_t key);

// Makes a watcher known; its position is the end of the log.
Status add_watcher(Connection& connection, std::int64_t id);
// Notes how far it has read; nothing when it is not known any more.
Status move_watcher(Connection& connection, std::int64_t id, std::int64_t position);
std::vector<std::int64_t> watchers(Connection& connection);
// Removes these watchers, and of the log what nobody needs any more.
Status cut_change_log(Connection& connection, const std::vector<std::int64_t>& without);

// What a watcher finds in the log.
struct Log_Part {
  bool is_known = false;      // the watcher's row is there
  std::int64_t position = 0;  // what it says
  std::int64_t oldest = 0;    // numbers of the log's ends; 0 when it is empty
  std::int64_t newest = 0;
  std::vector<Change> changes;  // those after the given number
};
Status read_change_log(Connection& connection, std::int64_t id, std::int64_t after, Log_Part* out);

}  // namespace hive
