// The rows of a statement that is not kept: for what is asked once. A failure ends the rows and is noted in the
// connection.
#pragma once

#include <cstdint>
#include <string_view>

#include "hive/store/connection.h"

namespace hive {

class Rows {
 public:
  Rows(Connection& connection, const char* text);
  ~Rows();
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  bool next();
  int columns();
  bool is_null(int column);
  std::int64_t number(int column);
  // As long as the row is the current one.
  std::string_view text(int column);

 private:
  Connection& connection_;
  sqlite3_stmt* statement_ = nullptr;
};

}  // namespace hive
