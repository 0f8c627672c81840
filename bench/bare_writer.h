// One row in one transaction, as plainly as SQLite allows, with the settings of a hive: the floor of writing.
#pragma once

#include <sqlite3.h>

#include <cstdlib>
#include <string>

namespace bench {

class Bare_Writer {
 public:
  // A file of this name in HOME, in which each writer has a row of its own.
  Bare_Writer(const std::string& name, const std::string& row) {
    const char* const home = std::getenv("HOME");
    const std::string file = std::string(home == nullptr ? "/tmp" : home) + '/' + name;
    sqlite3_open(file.c_str(), &database_);
    sqlite3_busy_timeout(database_, 5000);
    run("PRAGMA journal_mode = WAL");
    run("PRAGMA synchronous = NORMAL; PRAGMA cache_size = -1024; PRAGMA mmap_size = 0;"
        "PRAGMA journal_size_limit = 4194304;"
        "CREATE TABLE IF NOT EXISTS t(k TEXT PRIMARY KEY, v BLOB) WITHOUT ROWID");
    sqlite3_prepare_v2(database_, "INSERT INTO t VALUES(?1, ?2) ON CONFLICT(k) DO UPDATE SET v = excluded.v", -1, &put_,
                       nullptr);
    sqlite3_bind_text(put_, 1, row.c_str(), -1, SQLITE_TRANSIENT);
  }
  ~Bare_Writer() {
    sqlite3_finalize(put_);
    sqlite3_close(database_);
  }
  Bare_Writer(const Bare_Writer&) = delete;
  Bare_Writer& operator=(const Bare_Writer&) = delete;

  // Whether it was written.
  bool write(int number) {
    sqlite3_bind_blob(put_, 2, &number, sizeof number, SQLITE_STATIC);
    const bool done = sqlite3_step(put_) == SQLITE_DONE;
    sqlite3_reset(put_);
    return done;
  }

 private:
  void run(const char* text) { sqlite3_exec(database_, text, nullptr, nullptr, nullptr); }

  sqlite3* database_ = nullptr;
  sqlite3_stmt* put_ = nullptr;
};

}  // namespace bench
