// What SQLite asks of the system goes through wrappers of ours, put once into its file layer:
// - it is known at any time which descriptors a connection has open and which files they are, so that a
//   connection whose descriptors were closed behind its back is noticed before it writes into whatever got
//   their numbers;
// - such a connection can be closed without touching a descriptor (Abandoning);
// - the reason of a failed write is kept, which SQLite does not always pass on;
// - the head of a frame of the log and its page, which SQLite writes one after the other, go in one call;
// - no descriptor of ours is 0, 1 or 2, which a program may expect to be its next one.
//
// Recording and Abandoning hold for the calling thread while they live.
#pragma once

#include <sys/types.h>

#include <vector>

namespace hive {

// Which file: equal for all its names.
struct File_Identity {
  dev_t device = 0;
  ino_t inode = 0;

  bool operator==(const File_Identity&) const = default;
};

struct Descriptor {
  int fd;
  File_Identity file;
  nlink_t links;
  bool is_log;
  bool is_known;  // to be ours, as long as it is recorded
  off_t mark;     // where its file offset stands, which SQLite has no use for and no other descriptor shares; or -1
};

// The descriptors that a connection has open.
class Descriptors {
 public:
  void opened(int fd, const char* path);
  void closed(int fd);
  // True when each is still the file it was, with as many links as it had, and no lock is stuck.
  bool intact() const;
  // The same, without asking for the links.
  bool are_ours() const;
  // The same for one of them, once after each forgetting.
  bool is_ours(int fd);
  void set_known(bool known);
  // The system did not take a lock back: SQLite believes until the file is closed that somebody has it.
  void note_stuck_lock() { has_stuck_lock_ = true; }
  bool is_log(int fd) const;
  // Closes those that are still the files they were; for a connection that was abandoned.
  void close_own();
  // Writes what a descriptor's file holds to the disk; true when that went well for each.
  bool sync() const;
  const std::vector<Descriptor>& list() const { return list_; }

 private:
  std::vector<Descriptor> list_;
  bool has_stuck_lock_ = false;
};

class Recording {
 public:
  enum Kind {
    of_known_descriptors,    // each is known to be ours
    of_unknown_descriptors,  // each is asked before its first use; what is another file by now is not touched
  };
  Recording(Descriptors& descriptors, Kind kind);
  ~Recording();
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

 private:
  Descriptors* before_;
};

// While it lives, SQLite's calls on descriptors and names succeed and do nothing.
class Abandoning {
 public:
  Abandoning();
  ~Abandoning();
  Abandoning(const Abandoning&) = delete;
  Abandoning& operator=(const Abandoning&) = delete;
};

// Puts the wrappers in place; more than once is harmless. Before the first connection.
void install_system_calls();

// Whether SQLite has taken over the changes in a log that nobody used, in this thread since this was asked last.
bool took_log_over();

// errno of the thread's last failed write, truncation or opening since it was cleared; 0 when there was none.
int last_system_error();
void clear_system_error();

// The descriptor, or a copy of it above the standard ones (the original is then closed); -1 with errno.
int above_standard(int fd);

}  // namespace hive
