// The queue of a hive's writers: within the process a turn, between processes places in a line. A place is an exclusive
// lock on a byte of a file beside the hive that only writers may open; who stands in the line moves up place by place,
// and the first place is the turn. It makes waiting fair and is only a courtesy: who does not get it in time, or may
// not have the file, writes without it.
//
// Between processes nobody needs the turn while nobody waits: SQLite lets one write. Who is turned away by it, or
// stands in the line, says so in the file, and everybody takes his turn until that was long ago.
//
//   file = byte*64 magic told     of 64 bits each, as the machine has them; told: when, on its steady clock, in ns;
//                                 the bytes are of the last orderly end, see unclean_end.h
//
// Who has just had the turn may take it again, past those who wait, for a moment: going to sleep and waking up for each
// write would cost more than the write.
//
// Waiting never happens with the hive's own mutex held.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

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
    enum Length {
      of_operation,
      of_batch,  // needed in any case; the file may be closed behind our back meanwhile
    };
    Turn(Writer_Queue& queue, Back_Off& back_off, Length length);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

   private:
    Writer_Queue& queue_;
    bool has_turn_ = false;
    bool has_lock_ = false;
    const Length length_;
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
  bool nobody_waits();
  void tell_of_waiting();
  bool stand_in_line(Back_Off& back_off);
  bool try_lock_file(int first_place, int places, bool* out_someone_has_it);
  void leave_places(int first_place, int places);
  void unlock_file(bool asks_for_file);
  bool file_is_open();
  bool open_file();
  void close_file();

  std::mutex turn_mutex_;
  std::condition_variable turn_ended_;
  bool taken_ = false;
  std::vector<std::uint64_t> waiting_;  // threads, the first one first
  std::uint64_t last_waiting_ = 0;
  Back_Off::Clock::time_point passed_on_;  // when a waiting thread last got the turn

  Back_Off::Clock::time_point stood_in_line_;  // when the turn was last had from the line, by the one who has it
  std::mutex file_mutex_;
  std::string hive_file_;
  std::string file_;
  mode_t mode_ = 0;
  int fd_ = -1;
  File_Identity opened_;
  unsigned turns_ = 0;
};

}  // namespace hive
