// The lock of start-up: byte 0 of the pid file. It excludes whoever takes it by KvLockRegServerFile, but belongs to one
// descriptor instead of the process: other threads are excluded too, closing another descriptor of the file does not
// give it up, and it can be handed to a program that is started.
#pragma once

#include <chrono>
#include <string>

#include "impl/server/start_descriptor.h"

namespace impl {

class Start_Lock {
 public:
  enum class Result {
    taken,
    held,      // by somebody else, all the time
    unusable,  // the pid file cannot be used: see reason()
  };

  explicit Start_Lock(std::string pid_file) : pid_file_(std::move(pid_file)) {}
  // Gives the lock up.
  ~Start_Lock() { release(); }
  Start_Lock(const Start_Lock&) = delete;
  Start_Lock& operator=(const Start_Lock&) = delete;

  // Tries until the time is over; the pid file is made when it is missing. The lock is that of the file which has the
  // name now, whoever removed or replaced it meanwhile.
  Result take(std::chrono::milliseconds limit);
  // A lock that was handed over, with its descriptor; false when it is not of this pid file.
  bool adopt(int descriptor);
  // The file stays open.
  void release();
  // Closes the file and leaves the lock with the program that it was handed to.
  void leave();

  int descriptor() const { return file_.number(); }
  bool is_held() const { return held_; }
  const std::string& reason() const { return reason_; }

  // The pid file: the number of this process, or nothing. The lock must be held. False with reason().
  bool write_pid(const std::string& digits);
  // Whether the pid file has this name still and holds exactly these digits.
  bool names(const std::string& digits) const;

 private:
  Result try_once();
  bool open_file();
  bool is_current() const;
  bool refuse(const std::string& reason);

  std::string pid_file_;
  std::string reason_;
  Descriptor file_;
  bool held_ = false;
};

}  // namespace impl
