// What the store's statements do after a failure.
#include "hive/store/statement.h"

#include <sqlite3.h>

#include "hive/store/meta.h"
#include "hive/store/schema.h"
#include "hive/store/transaction.h"
#include "tests/hive/registry_on.h"

namespace {

using hive::Access;
using hive::Connection;
using hive::in_transaction;
using hive::Status;

struct Statements : testing::Test {
  Statements() {
    std::string reason;
    EXPECT_EQ(Connection::open("", Connection::Mode::memory, &connection, &reason), Status::ok) << reason;
    EXPECT_EQ(hive::make_hive(*connection, 0700), Status::ok);
  }
  std::int64_t number() {
    std::int64_t found = -1;
    in_transaction(*connection, Access::read, [&](Connection& hive) {
      found = hive::meta_number(hive, "number");
      return hive.status();
    });
    return found;
  }

  std::unique_ptr<Connection> connection;
};

// SQLite undoes the transaction by itself when memory or disk fail.
TEST_F(Statements, WriteNothingOnceTheTransactionWasUndoneByAFailure) {
  const Status status = in_transaction(*connection, Access::write, [](Connection& hive) {
    hive.run_text("ROLLBACK");
    hive.note(SQLITE_NOMEM);
    hive::set_meta(hive, "number", 7);
    hive.run_text("UPDATE meta SET value = 8 WHERE name = 'number'");
    return hive.status();
  });
  EXPECT_EQ(status, Status::no_memory);
  EXPECT_EQ(number(), 0);
}

TEST_F(Statements, WriteInTheNextTransaction) {
  in_transaction(*connection, Access::write, [](Connection& hive) {
    hive.note(SQLITE_NOMEM);
    return hive.status();
  });
  EXPECT_EQ(
      in_transaction(*connection, Access::write, [](Connection& hive) { return hive::set_meta(hive, "number", 7); }),
      Status::ok);
  EXPECT_EQ(number(), 7);
}

}  // namespace
