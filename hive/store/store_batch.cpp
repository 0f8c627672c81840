// A Store while a batch of some thread has a transaction open in it. The batch has the connection; everybody else reads
// through a second one, which sees what was committed. The second connection is opened when it is first needed and
// kept, for the next batch, as long as the first one is.
#include <sqlite3.h>

#include <utility>

#include "hive/store/store.h"

namespace hive {
Status Store::join(std::unique_ptr<Writer_Queue::Turn> turn, const Hive_Traits& traits,
                   std::shared_ptr<Batch_Part>* out, Findings& findings) {
  std::lock_guard lock(mutex_);
  if (batch_ != nullptr) return Status::busy;
  Status status = ready(Access::write, traits, findings);
  if (status != Status::ok) return status;
  auto part = std::make_shared<Batch_Part>();
  Connection::Use use(*connection_);
  copy_private();
  connection_->clear_failure();
  connection_->logged = {};
  if (Statement(*connection_, Query::begin_write).run() != Status::ok) {
    return finish_run(connection_->status(), findings);
  }
  coherence_.in_write(*connection_);
  connection_->begin_batch(part);
  batch_ = part;
  batch_turn_ = std::move(turn);
  *out = std::move(part);
  return Status::ok;
}

// Undoes everything unless the operation is known to have left nothing or all of itself.
class Store::Operation {
 public:
  explicit Operation(Store& store) : store_(store) { store_.connection_->mark_changes(); }
  ~Operation() {
    if (!is_whole_) store_.undo_batch();
  }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  void ended(Status status) {
    const Connection& connection = *store_.connection_;
    is_whole_ = connection.status() == Status::ok && (status == Status::ok || !connection.changed_since_mark());
  }

 private:
  Store& store_;
  bool is_whole_ = false;
};

Status Store::run_within(const std::shared_ptr<Batch_Part>& part, Transaction_Body body, Findings& findings) {
  std::lock_guard lock(mutex_);
  if (batch_ != part) return Status::batch_lost;
  Status status = Status::ok;
  {
    Connection::Use use(*connection_, Recording::of_unknown_descriptors);
    connection_->clear_failure();
    Operation operation(*this);
    status = body(*connection_);
    operation.ended(status);
    status = connection_->failed_or(status);
  }
  if (connection_->failure().code != 0 && !connection_->still_holds()) {
    close();
    return Status::batch_lost;
  }
  return finish_run(status, findings);
}

Status Store::commit(const std::shared_ptr<Batch_Part>& part, Findings& findings) {
  std::lock_guard lock(mutex_);
  if (batch_ != part) return Status::batch_lost;
  if (!connection_->intact()) {
    close();
    return Status::batch_lost;
  }
  Connection::Use use(*connection_);
  connection_->clear_failure();
  coherence_.before_commit(*connection_);
  const Status status = Statement(*connection_, Query::commit).run();
  if (status == Status::busy) return status;  // readers of a hive without a log are in the way
  if (status != Status::ok) {
    undo_batch();
    return finish_run(status, findings);
  }
  connection_->keep_ids();
  coherence_.after_commit(*connection_);
  connection_->shorten_log_if_due();
  findings.logged = connection_->logged;
  end_batch();
  return finish_run(status, findings);
}

void Store::abandon(const std::shared_ptr<Batch_Part>& part) {
  std::lock_guard lock(mutex_);
  if (batch_ == part) undo_in_use();
}

void Store::undo_in_use() {
  if (!connection_->intact()) return close();
  Connection::Use use(*connection_);
  undo_batch();
}

// With the connection in use, where it can be trusted.
void Store::undo_batch() {
  if (batch_ == nullptr) return;
  if (sqlite3_get_autocommit(connection_->handle()) == 0) Statement(*connection_, Query::rollback).run();
  connection_->forget_ids();
  connection_->known = {};
  batch_->lose();
  end_batch();
}

void Store::end_batch() {
  connection_->end_batch();
  batch_ = nullptr;
  private_copy_.reset();
  if (connection_->mode() == Connection::Mode::memory) beside_.reset();
  batch_turn_.reset();
}

// ---- everybody else

Status Store::run_beside(Access access, Transaction_Body body, Findings& findings) {
  Status status = access == Access::write ? Status::busy : open_beside(findings);
  if (status != Status::ok) return status;
  Connection::Use use(*beside_);
  beside_->keeping = {};
  if (access == Access::read) coherence_.before_read(*beside_);
  status = in_transaction(*beside_, access, body);
  const Failure failure = beside_->failure();
  if (failure.code != 0) findings.reason = text_of(failure);
  if (spoils_connection(status, failure)) beside_.reset();
  return status;
}

Status Store::open_beside(Findings& findings) {
  if (beside_ != nullptr && !beside_->intact()) beside_.reset();
  if (beside_ != nullptr) return Status::ok;
  const Connection::Mode mode = connection_->mode();
  Status status = Connection::open(file_, mode, &beside_, &findings.reason);
  if (status != Status::ok) return status;
  if (mode == Connection::Mode::memory) {
    status = beside_->take_content(*private_copy_);
  } else if (!stands_at_path()) {
    status = Status::busy;  // replaced: the next attempt finds the other one
  }
  beside_->identity = connection_->identity;
  beside_->shows_volatile = connection_->shows_volatile;
  if (status != Status::ok) beside_.reset();
  return status;
}

// A private hive has no second connection, but nobody changes it while a batch does: others read a copy.
void Store::copy_private() {
  if (connection_->mode() == Connection::Mode::memory) private_copy_ = connection_->content();
}

}  // namespace hive
