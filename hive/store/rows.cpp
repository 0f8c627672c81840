#include "hive/store/rows.h"

#include <sqlite3.h>

namespace hive {

Rows::Rows(Connection& connection, const char* text) : connection_(connection) {
  settle_growth(connection);
  int code = sqlite3_prepare_v2(connection.handle(), text, -1, &statement_, nullptr);
  if (code != SQLITE_OK) connection.note(code);
}

Rows::~Rows() { sqlite3_finalize(statement_); }

bool Rows::next() {
  if (statement_ == nullptr) return false;
  int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) connection_.note(code);
  return false;
}

int Rows::columns() { return sqlite3_column_count(statement_); }

bool Rows::is_null(int column) { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }

std::int64_t Rows::number(int column) { return sqlite3_column_int64(statement_, column); }

std::string_view Rows::text(int column) {
  const unsigned char* text = sqlite3_column_text(statement_, column);
  if (text == nullptr) return {};
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

}  // namespace hive
