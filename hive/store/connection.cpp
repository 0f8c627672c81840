#include "hive/store/connection.h"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "hive/cache/own_process.h"
#include "hive/name.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

constexpr const char* query_texts[] = {
#define QUERY(name, text) text,
#include "hive/store/queries.def"
#undef QUERY
};

constexpr int ids_of_a_block = 1000;
constexpr int frames_between_checkpoints = 1000;
constexpr std::size_t most_changed_keys = 1024;  // that are noted one by one

std::atomic<std::uint64_t> opened_so_far{0};

// Nothing of the schema of a hive is believed, and nothing is mapped into memory but the log's index.
constexpr const char* settings =
    "PRAGMA cell_size_check = ON; PRAGMA mmap_size = 0; PRAGMA cache_size = -1024; PRAGMA temp_store = MEMORY;"
    "PRAGMA synchronous = NORMAL; PRAGMA journal_size_limit = 4194304;";

// The number of 16-bit units of a stored name, for the statements that look for the longest.
void count_units_of(sqlite3_context* context, int, sqlite3_value** arguments) {
  const unsigned char* text = sqlite3_value_text(arguments[0]);
  std::size_t size = static_cast<std::size_t>(sqlite3_value_bytes(arguments[0]));
  std::string_view stored(text == nullptr ? "" : reinterpret_cast<const char*>(text), size);
  sqlite3_result_int64(context, static_cast<sqlite3_int64>(count_units(stored)));
}

// A path as SQLite's URI.
std::string uri_of(const std::string& file, const char* parameter) {
  constexpr const char* digits = "0123456789abcdef";
  std::string uri = "file:";
  for (char c : file) {
    unsigned char byte = static_cast<unsigned char>(c);
    if (byte == '%' || byte == '?' || byte == '#') {
      uri += {'%', digits[byte >> 4], digits[byte & 15]};
    } else {
      uri += c;
    }
  }
  return uri + parameter;
}

struct Target {
  std::string name;
  int flags;
};

Target target_of(const std::string& file, Connection::Mode mode) {
  constexpr int common = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
  switch (mode) {
    case Connection::Mode::immutable:
      return {uri_of(file, "?immutable=1"), common | SQLITE_OPEN_READONLY | SQLITE_OPEN_URI};
    case Connection::Mode::reading:
      return {uri_of(file, "?readonly_shm=1"), common | SQLITE_OPEN_READONLY | SQLITE_OPEN_URI};
    case Connection::Mode::memory:
      return {":memory:", common | SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_MEMORY};
    default:
      return {file, common | SQLITE_OPEN_READWRITE};
  }
}

}  // namespace

Status Connection::open(const std::string& file, Mode mode, std::unique_ptr<Connection>* out, std::string* reason) {
  install_system_calls();
  out->reset();
  std::unique_ptr<Connection> connection(new Connection);
  connection->process_ = getpid();
  connection->process_number_ = Own_Process::claim();
  connection->serial_ = ++opened_so_far;
  connection->mode_ = mode;
  Use use(*connection);
  connection->clear_failure();
  Target target = target_of(file, mode);
  int code = sqlite3_open_v2(target.name.c_str(), &connection->db_, target.flags, "unix");
  if (code != SQLITE_OK) {
    connection->note(code);
    *reason = text_of(connection->failure());
    return connection->status();
  }
  Status status = connection->set_up(reason);
  if (status == Status::ok) *out = std::move(connection);
  return status;
}

Status Connection::set_up(std::string* reason) {
  int keep_log = mode_ == Mode::alone ? 0 : 1;
  sqlite3_file_control(db_, "main", SQLITE_FCNTL_PERSIST_WAL, &keep_log);
  for (int off : {SQLITE_DBCONFIG_TRUSTED_SCHEMA, SQLITE_DBCONFIG_DQS_DDL, SQLITE_DBCONFIG_DQS_DML,
                  SQLITE_DBCONFIG_ENABLE_TRIGGER, SQLITE_DBCONFIG_ENABLE_VIEW}) {
    sqlite3_db_config(db_, off, 0, nullptr);
  }
  sqlite3_db_config(db_, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  int code = sqlite3_create_function(db_, "units", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, &count_units_of,
                                     nullptr, nullptr);
  if (code != SQLITE_OK) note(code);
  if (mode_ == Mode::alone) run_text("PRAGMA locking_mode = EXCLUSIVE");
  run_text(settings);
  sqlite3_wal_hook(db_, &note_commit, this);
  read_only_ = sqlite3_db_readonly(db_, "main") == 1;
  if (failure_.code != 0) *reason = text_of(failure_);
  return status();
}

int Connection::note_commit(void* connection, sqlite3*, const char*, int frames) {
  static_cast<Connection*>(connection)->frames_committed_ = frames;
  return SQLITE_OK;
}

void Connection::shorten_log_if_due() {
  if (frames_committed_ < frames_between_checkpoints) return;
  sqlite3_wal_checkpoint_v2(db_, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

Connection::~Connection() {
  if (db_ == nullptr) return;
  if (!intact()) {
    abandon();
    return;
  }
  Use use(*this);
  finalize();
  sqlite3_close(db_);
}

bool Connection::intact() const {
  if (mode_ == Mode::memory) return true;
  return !is_distrusted_ && is_of_this_process() && descriptors_.intact();
}

bool Connection::still_holds() const {
  if (mode_ == Mode::memory) return true;
  return !is_distrusted_ && is_of_this_process() && descriptors_.are_ours();
}

bool Connection::is_of_this_process() const {
  return process_number_ != 0 ? process_number_ == Own_Process::number() : process_ == getpid();
}

void Connection::leave_log_alone() { sqlite3_db_config(db_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr); }

void Connection::finalize() {
  for (sqlite3_stmt*& statement : statements_) {
    sqlite3_finalize(statement);
    statement = nullptr;
  }
}

// SQLite forgets the file and its locks; the descriptors that are still ours are closed afterwards, but not
// in a process that only inherited them.
void Connection::abandon() {
  leave_log_alone();
  {
    Abandoning nothing_is_touched;
    finalize();
    sqlite3_close(db_);
  }
  if (process_ == getpid()) descriptors_.close_own();
}

sqlite3_stmt* Connection::prepared(Query query) {
  sqlite3_stmt*& statement = statements_[static_cast<int>(query)];
  if (statement == nullptr) {
    int code = sqlite3_prepare_v3(db_, query_texts[static_cast<int>(query)], -1, SQLITE_PREPARE_PERSISTENT, &statement,
                                  nullptr);
    if (code != SQLITE_OK) note(code);
  }
  return statement;
}

Status Connection::run_text(const char* text) {
  settle_growth(*this);
  known.parent = {};
  if (failure_.code != 0) return status();
  int code = sqlite3_exec(db_, text, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) note(code);
  return status();
}

void Connection::note(int code) {
  if (failure_.code != 0) return;
  failure_.code = code;
  failure_.system = last_system_error();
  if (failure_.system == 0 && db_ != nullptr) failure_.system = sqlite3_system_errno(db_);
}

void Connection::clear_failure() {
  failure_ = {};
  clear_system_error();
}

void Connection::note_changed(std::int64_t key) {
  if (!changed_keys_.empty() && changed_keys_.back() == key) return;
  if (changed_keys_.size() >= most_changed_keys) {
    all_changed_ = true;
  } else {
    changed_keys_.push_back(key);
  }
}

void Connection::begin_batch(std::shared_ptr<const Batch_Part> part) {
  part_ = std::move(part);
  ids_before_batch_ = ids_;
  first_block_of_batch_ = 0;
}

std::shared_ptr<const Batch_Part> Connection::part_of(std::int64_t number) const {
  const bool is_of_old_block = number >= ids_before_batch_.next && number < ids_before_batch_.end;
  const bool is_of_new_block = first_block_of_batch_ != 0 && number >= first_block_of_batch_;
  return is_of_old_block || is_of_new_block ? part_ : nullptr;
}

void Connection::mark_changes() { marked_changes_ = sqlite3_total_changes64(db_); }

bool Connection::changed_since_mark() const { return sqlite3_total_changes64(db_) != marked_changes_; }

std::unique_ptr<std::vector<unsigned char>> Connection::content() const {
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, void (*)(void*)> bytes(sqlite3_serialize(db_, "main", &size, 0), &sqlite3_free);
  if (bytes == nullptr) throw std::bad_alloc();
  return std::make_unique<std::vector<unsigned char>>(bytes.get(), bytes.get() + size);
}

Status Connection::take_content(const std::vector<unsigned char>& content) {
  auto* bytes = static_cast<unsigned char*>(sqlite3_malloc64(content.size()));
  if (bytes == nullptr) return Status::no_memory;
  std::copy(content.begin(), content.end(), bytes);
  const auto size = static_cast<sqlite3_int64>(content.size());
  const int code = sqlite3_deserialize(db_, "main", bytes, size, size, SQLITE_DESERIALIZE_FREEONCLOSE);
  if (code != SQLITE_OK) note(code);
  return status();
}

void Connection::forget_changes() {
  frames_committed_ = -1;
  changed_keys_.clear();
  all_changed_ = false;
}

std::int64_t Connection::take_id() {
  if (ids_.next == ids_.end) {
    Statement take(*this, Query::take_ids);
    if (!take.bind(1, ids_of_a_block).row()) {
      note(SQLITE_CORRUPT);
      return 0;
    }
    ids_ = {take.number(0) - ids_of_a_block, take.number(0)};
    if (first_block_of_batch_ == 0) first_block_of_batch_ = ids_.next;
  }
  return ids_.next++;
}

}  // namespace hive
