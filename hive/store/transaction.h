// One transaction of a connection: all of it or nothing.
#pragma once

#include "hive/status.h"
#include "hive/store/connection.h"
#include "hive/store/function_ref.h"
#include "hive/store/statement.h"

namespace hive {

enum class Access {
  read,
  write,
  bare,  // no transaction: the body is one statement that takes its own
};

using Transaction_Body = Function_Ref<Status(Connection&)>;

// Runs the body in a transaction, unless the access is bare. A writing one is kept when the body answers ok and nothing
// failed; otherwise, and when the body throws, nothing of it stays. Gives what went wrong, else the body's answer.
Status in_transaction(Connection& connection, Access access, Transaction_Body body);

// Within a transaction of many operations: one of them that can be taken back alone. Outside of a batch it does
// nothing.
class Savepoint {
 public:
  explicit Savepoint(Connection& connection);
  // Takes back what was done, unless it was kept.
  ~Savepoint();
  Savepoint(const Savepoint&) = delete;
  Savepoint& operator=(const Savepoint&) = delete;

  void keep();

 private:
  Connection& connection_;
  Connection::Id_Block ids_;
  bool is_open_;
};

}  // namespace hive
