#include "hive/store/schema.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "hive/clock.h"
#include "hive/store/meta.h"
#include "hive/store/shared_memory.h"
#include "hive/store/transaction.h"
#include "hive/store/version.h"

namespace hive {
namespace {

// SQLite's file header: 16 bytes that name it; then, big-endian, at 18 the way of writing (2: with a log), at
// 60 the version of the schema, at 68 the application.
constexpr std::size_t header_size = 100;
constexpr char header_name[16] = "SQLite format 3";
constexpr std::size_t log_place = 18;
constexpr std::size_t version_place = 60;
constexpr std::size_t application_place = 68;
constexpr unsigned char log_written = 2;
constexpr std::uint32_t application_id = 0x4B564856;

using Header = std::array<unsigned char, header_size>;

// A key's own row has kind 0, a value's row kind 1; a key and its values lie side by side. Data above the
// inline limit lies in large. parent is null for a root; boot is null for a lasting key.
constexpr const char* schema =
    "CREATE TABLE node("
    " key INTEGER NOT NULL, kind INTEGER NOT NULL, folded TEXT NOT NULL, name TEXT NOT NULL,"
    " type INTEGER, size INTEGER, large INTEGER, data BLOB,"
    " parent INTEGER, class TEXT, written INTEGER, seq INTEGER,"
    " children INTEGER, value_count INTEGER, max_child_units INTEGER, max_class_units INTEGER,"
    " max_value_name_units INTEGER, max_value_size INTEGER,"
    " mode INTEGER, owner INTEGER, grp INTEGER, descriptor BLOB, flags INTEGER, boot TEXT,"
    " PRIMARY KEY(key, kind, folded)) WITHOUT ROWID;"
    "CREATE UNIQUE INDEX child ON node(parent, folded) WHERE kind = 0;"
    "CREATE INDEX volatile_key ON node(boot) WHERE boot IS NOT NULL;"
    "CREATE TABLE large(id INTEGER PRIMARY KEY, data BLOB NOT NULL);"
    "CREATE TABLE meta(name TEXT PRIMARY KEY, value) WITHOUT ROWID;"
    "PRAGMA application_id = 0x4B564856; PRAGMA user_version = 1;";

std::uint32_t big_endian(const Header& header, std::size_t place) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8 | header[place + i];
  return number;
}

Status judge(const Header& header, std::size_t size, std::uint32_t newest, File_Look* out, std::string* reason) {
  if (size < header.size() || std::memcmp(header.data(), header_name, sizeof header_name) != 0 ||
      big_endian(header, application_place) != application_id) {
    *reason = "the file is something else";
    return Status::not_a_hive;
  }
  if (big_endian(header, version_place) > newest) {
    *reason = newer_version_text(newest);
    return Status::newer_version;
  }
  out->has_log = header[log_place] == log_written;
  return Status::ok;
}

// Bytes read, or -1 with errno.
ssize_t read_header(const std::string& file, Header& header, bool* out_shares_memory) {
  int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return -1;
  ssize_t size = pread(fd, header.data(), header.size(), 0);
  int reason = errno;
  *out_shares_memory = shares_memory(fd);
  ::close(fd);
  errno = reason;
  return size;
}

// What a statement finds first.
int number_of(Connection& connection, const char* text) {
  sqlite3_stmt* statement = nullptr;
  int code = sqlite3_prepare_v2(connection.handle(), text, -1, &statement, nullptr);
  const bool found = code == SQLITE_OK && sqlite3_step(statement) == SQLITE_ROW;
  const int number = found ? sqlite3_column_int(statement, 0) : 0;
  code = sqlite3_finalize(statement);
  if (code != SQLITE_OK) connection.note(code);
  return number;
}

void insert_root(Connection& connection, mode_t mode) {
  Statement insert(connection, Query::insert_key);
  insert.bind(1, root_key).bind(2, "").bind(3, "").bind_null(4).bind(5, "");
  insert.bind(6, static_cast<std::int64_t>(file_time_now())).bind(7, root_key);
  insert.bind(8, mode).bind(9, geteuid()).bind(10, getegid()).bind(11, 0).bind_null(12);
  insert.run();
}

void insert_meta(Connection& connection) {
  std::array<unsigned char, 16> identity{};
  if (getrandom(identity.data(), identity.size(), 0) != static_cast<ssize_t>(identity.size())) {
    connection.note(SQLITE_IOERR);
  }
  set_meta_data(connection, "identity", identity.data(), identity.size());
  set_meta(connection, "next_id", first_free_key);
  set_meta(connection, "number", 0);
  set_meta(connection, "imaged", 1);
  set_meta(connection, "fresh", 1);
}

}  // namespace

Status look_at_file(const std::string& file, std::uint32_t newest, File_Look* out, std::string* reason) {
  Header header{};
  *out = {};
  ssize_t size = read_header(file, header, &out->shares_memory);
  if (size < 0) {
    int error = errno;
    *reason = text_of_errno(error);
    // Gone since its path was asked: the next attempt finds what stands there then.
    return error == ENOENT ? Status::busy : status_of_errno(error);
  }
  out->empty = size == 0;
  return out->empty ? Status::ok : judge(header, static_cast<std::size_t>(size), newest, out, reason);
}

Status make_hive(Connection& connection, mode_t root_mode) {
  return in_transaction(connection, Access::write, [&](Connection&) {
    if (number_of(connection, "PRAGMA user_version") != 0) return connection.status();
    if (connection.run_text(schema) != Status::ok) return connection.status();
    insert_root(connection, root_mode);
    insert_meta(connection);
    return connection.status();
  });
}

bool is_empty(Connection& connection) { return number_of(connection, "PRAGMA page_count") == 0; }

Status use_log(Connection& connection) { return connection.run_text("PRAGMA journal_mode = WAL"); }

Status give_up_log(const std::string& file, std::string* reason) {
  std::unique_ptr<Connection> connection;
  Status status = Connection::open(file, Connection::Mode::alone, &connection, reason);
  if (status != Status::ok) return status;
  Connection::Use use(*connection);
  status = connection->run_text("PRAGMA journal_mode = DELETE");
  if (status != Status::ok) *reason = text_of(connection->failure());
  return status;
}

}  // namespace hive
