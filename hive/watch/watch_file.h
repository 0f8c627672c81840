// The file beside a hive through which its watchers and its writers meet, with the hive's own mode and nothing in it
// but a number: the word that watchers sleep on. A watcher that lives holds an exclusive lock on the byte of the file
// that its id names, so that what a killed one left in the hive can be told.
//
// The lock belongs to the open file: no other descriptor of the file can drop it, and a forked child lets go of its
// copy at once. A private hive has no file; its word is the process's own.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "hive/store/system_calls.h"
#include "hive/watch/watch_word.h"

namespace hive {

class Watch_File {
 public:
  // Empty: of a private hive.
  explicit Watch_File(std::string hive_file);
  ~Watch_File();

  // Becomes the watcher of this id, from 1 to 2^62; makes the file when there is none. False when the file cannot be
  // had.
  bool enter(std::int64_t id);
  // Whether its lock is seen by everybody; takes it anew when the file was removed or its descriptor closed.
  bool keep();
  void leave();

  // Wakes the watchers, if there are any.
  void ring();
  // Whether a living watcher has this id.
  bool is_alive(std::int64_t id);
  // What to sleep on.
  std::shared_ptr<Watch_Word> word();

  // Around a fork.
  void before_fork() { mutex_.lock(); }
  void after_fork_in_parent() { mutex_.unlock(); }
  void after_fork_in_child();

 private:
  void find();
  bool open(bool make);
  bool open_anew(bool make);
  bool map_word();
  bool is_open() const;
  bool leads_here() const;
  void lock_byte();
  bool is_locked() const { return locked_id_ == id_; }
  void close_file();

  std::mutex mutex_;  // nothing else is waited for while it is held
  const std::string hive_file_;
  std::string file_;
  int fd_ = -1;
  File_Identity opened_;
  std::int64_t id_ = 0;         // 0: no watcher
  std::int64_t locked_id_ = 0;  // whose lock the open file has
  std::shared_ptr<Watch_Word> word_;
};

}  // namespace hive
