// A hive's file as SQLite alone sees it: what damages a hive by hand, and what looks at its rows.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace hivetest {

inline std::string bytes_of(const std::string& file) {
  std::ostringstream bytes;
  bytes << std::ifstream(file, std::ios::binary).rdbuf();
  return bytes.str();
}

inline void write_bytes(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

inline void remove_log(const std::string& file) {
  for (const char* beside : {"-wal", "-shm"}) std::filesystem::remove(file + beside);
}

// Nobody else may have the file open in this process.
class Database {
 public:
  explicit Database(const std::string& file) {
    EXPECT_EQ(sqlite3_open(file.c_str(), &db_), SQLITE_OK);
    sqlite3_create_function(db_, "units", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, &no_units, nullptr, nullptr);
  }
  ~Database() { sqlite3_close(db_); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  void run(const std::string& statements) {
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db_, statements.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << error << ": " << statements;
    sqlite3_free(error);
  }
  // The first column of the first row; empty when there is none.
  std::string ask(const std::string& statement) {
    sqlite3_stmt* asked = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db_, statement.c_str(), -1, &asked, nullptr), SQLITE_OK) << statement;
    std::string answer;
    if (sqlite3_step(asked) == SQLITE_ROW && sqlite3_column_text(asked, 0) != nullptr) {
      answer = reinterpret_cast<const char*>(sqlite3_column_text(asked, 0));
    }
    sqlite3_finalize(asked);
    return answer;
  }
  // Closing leaves the log as it is.
  void leave_log() {
    int keep = 1;
    sqlite3_file_control(db_, "main", SQLITE_FCNTL_PERSIST_WAL, &keep);
    sqlite3_db_config(db_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  }

 private:
  static void no_units(sqlite3_context* context, int, sqlite3_value**) { sqlite3_result_int(context, 0); }

  sqlite3* db_ = nullptr;
};

// Everything of a hive in its file, without a log beside it.
inline void gather(const std::string& file) {
  { Database(file).run("PRAGMA wal_checkpoint(TRUNCATE)"); }
  remove_log(file);
}

}  // namespace hivetest
