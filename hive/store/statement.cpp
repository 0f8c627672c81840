#include "hive/store/statement.h"

#include <sqlite3.h>

namespace hive {
namespace {

// SQLite takes a null address for NULL, also with a size of 0.
const char* address(const void* data) { return data == nullptr ? "" : static_cast<const char*>(data); }

// Whether a key that sub-keys are made below is as it was behind the statement.
bool leaves_parent(Query query) {
  switch (query) {
    case Query::begin_write:
    case Query::commit:
    case Query::find_child:
    case Query::take_ids:
    case Query::get_meta:
    case Query::end_imaged:
    case Query::raise_number:
      return true;
    default:
      return false;
  }
}

}  // namespace

Statement::Statement(Connection& connection, Query query)
    : connection_(connection), statement_(connection.prepared(query)), runs_after_failure_(query == Query::rollback) {
  settle_growth(connection, query);
  if (!leaves_parent(query)) connection.known.parent.key = 0;
}

Statement::~Statement() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  if (has_bindings_) sqlite3_clear_bindings(statement_);
}

Statement& Statement::bind(int place, std::int64_t number) {
  has_bindings_ = true;
  if (statement_ != nullptr) sqlite3_bind_int64(statement_, place, number);
  return *this;
}

Statement& Statement::bind(int place, std::string_view text) {
  has_bindings_ = true;
  if (statement_ == nullptr) return *this;
  int code = sqlite3_bind_text64(statement_, place, address(text.data()), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  if (code != SQLITE_OK) connection_.note(code);
  return *this;
}

Statement& Statement::bind_data(int place, const void* data, std::size_t size) {
  has_bindings_ = true;
  if (statement_ == nullptr) return *this;
  int code = sqlite3_bind_blob64(statement_, place, address(data), size, SQLITE_STATIC);
  if (code != SQLITE_OK) connection_.note(code);
  return *this;
}

Statement& Statement::bind_null(int place) {
  if (statement_ != nullptr) sqlite3_bind_null(statement_, place);
  return *this;
}

bool Statement::row() {
  if (statement_ == nullptr || (connection_.failure().code != 0 && !runs_after_failure_)) return false;
  int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) connection_.note(code);
  return false;
}

Status Statement::run() {
  while (row()) {
  }
  return connection_.status();
}

// Of a column that has nothing, or of one that there is no memory for.
std::string_view Statement::nothing() {
  if (sqlite3_errcode(connection_.handle()) == SQLITE_NOMEM) connection_.note(SQLITE_NOMEM);
  return {};
}

bool Statement::is_null(int column) { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }

std::int64_t Statement::number(int column) { return sqlite3_column_int64(statement_, column); }

std::string_view Statement::text(int column) {
  const unsigned char* text = sqlite3_column_text(statement_, column);
  if (text == nullptr) return nothing();
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::string_view Statement::data(int column) {
  const void* data = sqlite3_column_blob(statement_, column);
  if (data == nullptr) return nothing();
  return {static_cast<const char*>(data), static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

}  // namespace hive
