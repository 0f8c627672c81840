// One look of a post: what has changed is read within a transaction, taken with the post's mutex held, and told with
// neither. Looks of several threads may overlap; the order of their transactions decides which one is the later.
#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <limits>

#include "hive/hive.h"
#include "hive/store/meta.h"
#include "hive/watch/watch_post.h"

namespace hive {
namespace {

std::atomic<std::uint64_t> looks_so_far{0};

// Another one after each change by another connection, once the transaction has begun to read.
std::uint32_t version_of(Connection& connection) {
  meta_number(connection, "next_id");
  std::uint32_t version = 0;
  sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_DATA_VERSION, &version);
  return version;
}

}  // namespace

// What a look asks, and what it finds.
struct Watch_Post::Look {
  struct Asked {
    std::shared_ptr<Watched_Key> key;
    Snapshot::Extent extent;
    bool is_new;
    Read_State compared_at;
    Snapshot found;
  };

  std::int64_t id = 0;
  std::int64_t after = std::numeric_limits<std::int64_t>::max();
  std::vector<Asked> asked;

  std::uint64_t order = 0;
  Log_Part log;
  bool is_compared = false;
  Read_State state;

  Watch_Targets told;
  bool is_lost = false;
  std::int64_t position = 0;
};

Status Watch_Post::look(Hive& hive) {
  Look look;
  prepare(look);
  const Status status = hive.read([&](Connection& connection) { return read(connection, look); });
  if (status != Status::ok) return status;
  take(look);
  tell_all(look.told);
  if (look.is_lost) return enroll(hive);
  catch_up(hive, look);
  return Status::ok;
}

void Watch_Post::prepare(Look& look) {
  std::lock_guard lock(mutex_);
  look.id = id_;
  for (const std::shared_ptr<Watched_Key>& key : keys_) {
    if (id_ == 0) {
      look.asked.push_back({key, key->extent(), key->needs_comparison(), key->compared_at(), {}});
    } else if (key->seen() == Watched_Key::unknown) {
      look.asked.push_back({key, Snapshot::Extent::existence, true, {}, {}});
    } else {
      look.after = std::min(look.after, key->seen());
    }
  }
}

Status Watch_Post::read(Connection& connection, Look& look) {
  look.order = ++looks_so_far;
  if (look.id == 0) return compare(connection, look);
  for (Look::Asked& each : look.asked) each.found = Snapshot::of(connection, each.key->number(), each.extent);
  return read_change_log(connection, look.id, look.after, &look.log);
}

// The version tells of other connections' changes, so it says enough only where this one makes none.
Status Watch_Post::compare(Connection& connection, Look& look) {
  look.state = {connection.serial(), version_of(connection)};
  const bool is_same = connection.read_only() &&
                       std::all_of(look.asked.begin(), look.asked.end(),
                                   [&](const auto& each) { return !each.is_new && each.compared_at == look.state; });
  look.is_compared = !is_same;
  if (is_same) return Status::ok;
  for (Look::Asked& each : look.asked) each.found = Snapshot::of(connection, each.key->number(), each.extent);
  return connection.status();
}

void Watch_Post::take(Look& look) {
  std::lock_guard lock(mutex_);
  if (look.id == id_ && id_ != 0) take_log(look);
  if (look.id == id_ && id_ == 0 && look.is_compared) {
    for (Look::Asked& each : look.asked) each.key->take(std::move(each.found), look.order, look.state);
  }
  for (const std::shared_ptr<Watched_Key>& key : keys_) key->collect(look.told);
}

void Watch_Post::take_log(Look& look) {
  if (!look.log.is_known) {
    look.is_lost = true;
    settle_lost();
    return;
  }
  const bool is_latest = look.order > order_;
  if (is_latest) order_ = look.order;
  look.position = look.log.newest;
  for (const std::shared_ptr<Watched_Key>& key : keys_) {
    if (is_latest && key->seen() != Watched_Key::unknown) key->take(look.log);
  }
  for (Look::Asked& each : look.asked) {
    if (each.key->seen() != Watched_Key::unknown) continue;
    each.key->begin_at(look.log.newest);
    if (!each.found.is_there()) each.key->end();
  }
  for (const std::shared_ptr<Watched_Key>& key : keys_) look.position = std::min(look.position, key->seen());
}

// Somebody took this watcher for dead, or another hive stands at the path.
void Watch_Post::settle_lost() {
  id_ = 0;
  file_.leave();
  for (const std::shared_ptr<Watched_Key>& key : keys_) key->lose_track();
}

// Tells the hive how far the log was read, now and then.
void Watch_Post::catch_up(Hive& hive, const Look& look) {
  if (look.id == 0 || look.position - look.log.position < changes_between_cuts) return;
  hive.write_aside([&](Connection& connection) { return move_watcher(connection, look.id, look.position); });
}

}  // namespace hive
