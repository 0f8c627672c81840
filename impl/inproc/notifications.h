// Notifications between the processes of a user, without a server.
//
// A process that asks gets a mailbox on the board and a thread that delivers what comes to it; one that only reports
// looks at the board and has neither. Nobody waits for another process: an answer is a file.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "impl/inproc/bell.h"
#include "impl/inproc/notification_board.h"

namespace impl {

class Notifications {
 public:
  // The operations of Registry_Service.
  bool request(int pid, int kind, bool on);
  bool report(int kind, const char* data, int size);
  bool report_always(int kind, bool on);

  // Takes this process off the board.
  void end();

 private:
  // The board if it is there already, or made now; null when there is none to be had.
  const Notification_Board* board(bool make);
  bool has_mailbox();
  bool open_mailbox();
  bool start_thread();
  void deliver();
  bool answer(const Notification_Board& board, const std::string& target, int kind, const std::string& asker,
              std::string_view data);
  void guard_forks();

  std::mutex mutex_;                         // not held while a handler runs
  std::optional<Notification_Board> board_;  // set once
  std::string mailbox_owner_;                // the identity of the process that has the mailbox; empty for none
  Bell bell_;                                // the delivering thread's, once that runs
  bool core_data_made_ = false;
  bool was_on_board_ = false;
};

}  // namespace impl
