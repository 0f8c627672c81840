// Whether a hive's last user ended as it should, and the check of the hive's structure when not.
//
// Who finds a log that nobody else uses, and takes over what is in it, is the first to open the hive again: SQLite
// knows that by an exclusive lock and tells. The end of a process notes in the writers' queue file what the hive's
// file and log look like then. A log that does not look like it was left by a kill, a crash or a power loss, or by a
// program that ends without closing anything; then the hive is checked, once.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "hive/store/connection.h"

namespace hive {

class Unclean_End {
 public:
  // The hive was opened; log_taken_over: what a log held that nobody used.
  void opened(const std::string& hive_file, bool log_taken_over);
  // Looks the hive through if that is due; in a transaction of its caller. A hive that was found damaged is looked
  // through again only when its files have changed.
  Status check(Connection& connection, const std::string& hive_file, std::string* reason);
  // The process ends as it should.
  void note_orderly_end(const std::string& hive_file) const;

 private:
  // What a file is as far as its head tells.
  struct File_State {
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;

    bool operator==(const File_State&) const = default;
  };
  struct Hive_State {
    File_State file;
    File_State log;

    bool operator==(const Hive_State&) const = default;
  };

  static File_State file_state(const std::string& file);
  static Hive_State state_of(const std::string& hive_file);
  static bool is_as_noted(const std::string& hive_file);

  bool is_due_ = false;
  std::string damage_;  // what the last check found
  Hive_State damaged_;  // in what state
};

}  // namespace hive
