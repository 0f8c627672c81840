// The queue of a hive's writers: within the process a turn, between processes an exclusive flock of a file
// beside the hive that only writers may open. It makes waiting fair and is only a courtesy: who does not get
// it in time, or may not have the file, writes without it.
//
// Waiting never happens with the hive's own mutex held.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <string>

#include "hive/store/back_off.h"
#include "hive/store/system_calls.h"

namespace hive {

class Writer_Queue {
 public:
  // Where the file lies and the hive's mode, from which its own follows. No path: the process alone.
  void set_file(const std::string& hive_file, mode_t hive_mode);

  // Closes the file until the next turn.
  void rest();

  // One turn; given back by its end.
  class Turn {
   public:
    Turn(Writer_Queue& queue, Back_Off& back_off);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    Writer_Queue& queue_;
    bool has_turn_ = false;
    bool has_lock_ = false;
  };

  // Around a fork: before it the descriptor is closed, after it both processes open their own.
  void before_fork();
  void after_fork_in_parent();
  void after_fork_in_child();

 private:
  bool wait_for_turn(Back_Off& back_off);
  void end_turn();
  // Tries until the time is over. False: on without it.
  bool lock_file(Back_Off& back_off);
  bool try_lock_file(bool* out_someone_has_it);
  void unlock_file();
  bool file_is_open();
  bool open_file();
  void close_file();

  std::mutex turn_mutex_;
  std::condition_variable turn_ended_;
  bool taken_ = false;

  std::mutex file_mutex_;
  std::string hive_file_;
  std::string file_;
  mode_t mode_ = 0;
  int fd_ = -1;
  File_Identity opened_;
};

}  // namespace hive
