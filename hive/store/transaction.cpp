#include "hive/store/transaction.h"

#include <sqlite3.h>

namespace hive {
namespace {

// Ends what was begun, if nobody else did.
class Open_Transaction {
 public:
  explicit Open_Transaction(Connection& connection) : connection_(connection) {}
  ~Open_Transaction() {
    if (done_) return;
    connection_.forget_ids();
    if (sqlite3_get_autocommit(connection_.handle()) == 0) Statement(connection_, Query::rollback).run();
  }

  Status commit() {
    Status status = Statement(connection_, Query::commit).run();
    if (status != Status::ok) return status;
    connection_.keep_ids();
    done_ = true;
    return status;
  }

 private:
  Connection& connection_;
  bool done_ = false;
};

}  // namespace

Status in_transaction(Connection& connection, Access access, Transaction_Body body) {
  connection.clear_failure();
  if (access == Access::bare) return connection.failed_or(body(connection));
  Query begin = access == Access::write ? Query::begin_write : Query::begin_read;
  if (Statement(connection, begin).run() != Status::ok) return connection.status();
  Open_Transaction transaction(connection);
  Status status = body(connection);
  if (connection.status() != Status::ok) return connection.status();
  if (access == Access::write && status != Status::ok) return status;
  Status end = transaction.commit();
  return end == Status::ok ? status : end;
}

Savepoint::Savepoint(Connection& connection)
    : connection_(connection), ids_(connection.ids_), is_open_(connection.is_in_batch()) {
  if (is_open_) Statement(connection_, Query::begin_savepoint).run();
}

// What failed may have undone the whole transaction already.
Savepoint::~Savepoint() {
  if (!is_open_ || sqlite3_get_autocommit(connection_.handle()) != 0 || connection_.status() != Status::ok) return;
  connection_.ids_ = ids_;
  connection_.known = {};
  Statement(connection_, Query::undo_savepoint).run();
  Statement(connection_, Query::end_savepoint).run();
  if (connection_.status() == Status::ok) connection_.mark_changes();
}

void Savepoint::keep() {
  if (is_open_) Statement(connection_, Query::end_savepoint).run();
  is_open_ = false;
}

}  // namespace hive
