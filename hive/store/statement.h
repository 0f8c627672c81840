// One run of a kept statement: bind, step, read. Its end makes the statement ready for the next run.
//
// Nothing here is checked by the caller row by row: a failure ends the rows and is noted in the connection,
// which is asked at the end. From then on nothing runs but the rollback: SQLite has undone the transaction by itself
// after some failures, and what came then would be a transaction of its own. Texts and data that are bound, and what
// columns give, live as long as the run.
#pragma once

#include <cstdint>
#include <string_view>

#include "hive/store/connection.h"

namespace hive {

class Statement {
 public:
  Statement(Connection& connection, Query query);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& bind(int place, std::int64_t number);
  Statement& bind(int place, std::string_view text);
  Statement& bind_data(int place, const void* data, std::size_t size);
  Statement& bind_null(int place);

  // Steps to the next row.
  bool row();
  // Steps to the end; the status of the connection then.
  Status run();

  bool is_null(int column);
  std::int64_t number(int column);
  std::uint32_t number32(int column) { return static_cast<std::uint32_t>(number(column)); }
  std::string_view text(int column);
  // Bytes of a blob; its size comes with it.
  std::string_view data(int column);

 private:
  std::string_view nothing();

  Connection& connection_;
  sqlite3_stmt* statement_;
  const bool runs_after_failure_;
  bool has_bindings_ = false;
};

}  // namespace hive
