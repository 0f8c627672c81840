// That this process has a hive open, told to other processes by a shared flock of a file beside the hive; and
// being alone with the hive, by an exclusive one, while the process opens it for the first time.
//
// A child of a fork shares the lock, which lasts until both have ended: there is nothing to do around forks.
// A descriptor that was closed behind our back is noticed when the hive's connection is opened anew, as it is
// when its own descriptors are gone too. Where the file cannot be had, nobody is ever alone by it.
#pragma once

#include <mutex>
#include <string>

#include "hive/status.h"
#include "hive/store/system_calls.h"

namespace hive {

class Presence {
 public:
  Presence() = default;
  ~Presence();
  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;

  // Before the hive of this file, by its real path, is opened; never waits. busy: another process is alone with
  // it at this moment.
  Status enter(const std::string& hive_file);
  // Whether no other process has the hive open; between enter and settle of the first opening only.
  bool alone() const;
  // After the opening, which ended like this: lets others in again. What is to be answered for the opening:
  // busy when the next process was faster and is alone now.
  Status settle(Status opened);

 private:
  void move_to(const std::string& file);
  bool is_open();
  bool open_file();
  Status share();
  void close_file();

  mutable std::mutex mutex_;  // taken with the hive's mutex held, so free at every fork
  std::string file_;
  int fd_ = -1;
  File_Identity opened_;
  bool shared_ = false;  // has the shared lock
  bool alone_ = false;   // has the exclusive one
  bool first_ = true;    // the hive was not opened yet
};

}  // namespace hive
