#include "hive/store/store.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>

#include "hive/store/fork.h"

namespace hive {
namespace {

std::vector<Store*>& stores() {
  static std::vector<Store*>& list = *new std::vector<Store*>;
  return list;
}

File_Identity identity_at(const std::string& file) {
  struct stat now;
  return stat(file.c_str(), &now) == 0 ? File_Identity{now.st_dev, now.st_ino} : File_Identity{};
}

}  // namespace

const std::vector<Store*>& Store::all() { return stores(); }

Store* Store::attach(const File_Identity& identity, const std::string& file, mode_t file_mode) {
  guard_forks();
  auto known = std::find_if(stores().begin(), stores().end(),
                            [&](const Store* store) { return !store->file_.empty() && store->identity_ == identity; });
  Store* store = known != stores().end() ? *known : nullptr;
  if (store == nullptr) {
    store = new Store;
    store->identity_ = identity;
    store->move_to(file, file_mode);
    stores().push_back(store);
  } else if (store->file_ != file && !(identity_at(store->file_) == identity)) {
    // The number of a file that is gone was given to this one.
    store->move_to(file, file_mode);
  }
  ++store->users_;
  return store;
}

void Store::move_to(const std::string& file, mode_t file_mode) {
  std::lock_guard lock(mutex_);
  close();
  file_ = file;
  hive_birth_ = 0;
  unclean_end_ = {};
  was_writable_ = false;
  queue_.set_file(file, file_mode);
}

Store* Store::attach_private() {
  guard_forks();
  Store* store = new Store;
  stores().push_back(store);
  ++store->users_;
  return store;
}

void Store::detach() {
  if (--users_ > 0) return;
  std::lock_guard lock(mutex_);
  if (users_ > 0) return;
  close();
  queue_.rest();
}

// Whether a connection that failed like this is of no further use.
bool Store::spoils_connection(Status status, const Failure& failure) {
  if (failure.code == 0) return false;
  if (status == Status::busy) return failure.code == SQLITE_READONLY_DBMOVED;
  return status != Status::disk_full;
}

Status Store::run(Access access, const Hive_Traits& traits, Transaction_Body body, Findings& findings) {
  std::lock_guard lock(mutex_);
  if (batch_ != nullptr) return run_beside(access, body, findings);
  Status status = ready(access, traits, findings);
  if (status != Status::ok) return status;
  Connection::Use use(*connection_);
  connection_->logged = {};
  status = run_with_memory(access, body);
  findings.logged = connection_->logged;
  return finish_run(status, findings);
}

// A transaction beside what is held in memory: a reading one may add to it, and a writing one drops of it what
// it changed.
Status Store::run_with_memory(Access access, Transaction_Body body) {
  Connection& connection = *connection_;
  connection.keeping = {};
  if (access == Access::read) coherence_.before_read(connection);
  if (access != Access::write) return in_transaction(connection, access, body);
  const Status status = in_transaction(connection, access, [&](Connection& begun) {
    coherence_.in_write(begun);
    const Status done = body(begun);
    if (done == Status::ok) coherence_.before_commit(begun);
    return done;
  });
  if (status == Status::ok) {
    coherence_.after_commit(connection);
    connection.shorten_log_if_due();
  } else {
    connection.known = {};
  }
  return status;
}

bool Store::stands_at_path() const { return identity_at(file_) == identity_; }

// The connections share what SQLite keeps of the file: neither can be trusted alone.
void Store::close() {
  if (batch_ != nullptr) {
    batch_->lose();
    end_batch();
  }
  coherence_.closing();
  if (beside_ != nullptr && connection_ != nullptr && !(beside_->intact() && connection_->intact())) {
    beside_->distrust();
    connection_->distrust();
  }
  beside_.reset();
  connection_.reset();
  coherence_.closed();
}

// Drops what cannot be kept: a connection that failed, and one that is only good while nobody writes.
Status Store::finish_run(Status status, Findings& findings) {
  const Failure failure = connection_->failure();
  if (failure.code != 0) findings.reason = text_of(failure);
  bool was_immutable = connection_->mode() == Connection::Mode::immutable;
  if (was_immutable || spoils_connection(status, failure)) close();
  return was_immutable && !has_no_log() ? Status::busy : status;
}

void Store::note_orderly_end() {
  std::lock_guard lock(mutex_);
  if (was_writable_) unclean_end_.note_orderly_end(file_);
}

void Store::before_fork() {
  mutex_.lock();
  if (batch_ != nullptr) undo_in_use();
  queue_.before_fork();
  if (connection_ == nullptr || connection_->mode() == Connection::Mode::memory) return;
  connection_->leave_log_alone();
  close();
  if (was_writable_) unclean_end_.note_orderly_end(file_);
}

void Store::after_fork_in_parent() {
  queue_.after_fork_in_parent();
  mutex_.unlock();
}

void Store::after_fork_in_child() {
  queue_.after_fork_in_child();
  mutex_.unlock();
}

}  // namespace hive
