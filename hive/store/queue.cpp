#include "hive/store/queue.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

namespace hive {
namespace {

constexpr mode_t write_bits = 0222;
constexpr int write_to_read_bit = 1;

// How long who has the turn may take it again past those who wait.
constexpr std::chrono::milliseconds passing_time{1};

// Places in the line: bytes far behind what the file holds.
constexpr off_t first_byte = off_t{1} << 30;
constexpr int last_place = 12;
constexpr std::chrono::microseconds pause_of_a_place{100};  // longer, the farther behind
constexpr int longest_pause = 4;

// What the file holds behind the note of the last orderly end.
constexpr off_t told_at = 64;
constexpr std::uint64_t magic = 0x3171657565766968u;
constexpr std::chrono::milliseconds waiting_is_over_after{50};
constexpr unsigned turns_between_two_names = 64;
struct Told {
  std::uint64_t magic;
  std::int64_t at;
};

std::int64_t now() { return std::chrono::nanoseconds(Back_Off::Clock::now().time_since_epoch()).count(); }

struct flock lock_of(short kind, int first_place, int places) {
  struct flock lock {};
  lock.l_type = kind;
  lock.l_whence = SEEK_SET;
  lock.l_start = first_byte + first_place;
  lock.l_len = places;
  return lock;
}

// Who may write the hive may open the queue's file, nobody else.
mode_t queue_mode(mode_t hive_mode) {
  mode_t writers = hive_mode & write_bits;
  return writers | (writers << write_to_read_bit);
}

// What root makes beside another's hive is that user's.
void give_to_owner(int fd, const std::string& hive_file) {
  struct stat hive;
  if (geteuid() != 0 || stat(hive_file.c_str(), &hive) != 0) return;
  [[maybe_unused]] int given = fchown(fd, hive.st_uid, hive.st_gid);  // else a courtesy less
}

int open_queue(const char* file, mode_t mode, const std::string& hive_file) {
  constexpr int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
  int fd = above_standard(open(file, flags | O_CREAT | O_EXCL, mode));
  if (fd >= 0) {
    give_to_owner(fd, hive_file);
    if (fchmod(fd, mode) != 0) return fd;  // narrower by the process's mask: a courtesy less
    return fd;
  }
  return errno == EEXIST ? above_standard(open(file, flags)) : -1;
}

}  // namespace

void Writer_Queue::set_file(const std::string& hive_file, mode_t hive_mode) {
  std::lock_guard lock(file_mutex_);
  close_file();
  hive_file_ = hive_file;
  file_ = hive_file.empty() ? "" : hive_file + "-queue";
  mode_ = queue_mode(hive_mode);
}

void Writer_Queue::rest() {
  std::lock_guard lock(file_mutex_);
  close_file();
}

Writer_Queue::Turn::Turn(Writer_Queue& queue, Back_Off& back_off, Length length) : queue_(queue), length_(length) {
  has_turn_ = queue_.wait_for_turn(back_off);
  const bool needs_lock = length_ == of_batch || back_off.has_paused() || !queue_.nobody_waits();
  has_lock_ = has_turn_ && needs_lock && queue_.lock_file(back_off);
}

Writer_Queue::Turn::~Turn() {
  if (has_lock_) queue_.unlock_file(length_ == of_batch);
  if (has_turn_) queue_.end_turn();
}

bool Writer_Queue::wait_for_turn(Back_Off& back_off) {
  std::unique_lock lock(turn_mutex_);
  const bool may_pass = waiting_.empty() || Back_Off::Clock::now() - passed_on_ < passing_time;
  if (taken_ || !may_pass) {
    if (waiting_.empty()) passed_on_ = Back_Off::Clock::now();
    const std::uint64_t self = ++last_waiting_;
    waiting_.push_back(self);
    const auto is_first = [&] { return !taken_ && waiting_.front() == self; };
    const bool has_turn = turn_ended_.wait_until(lock, back_off.deadline(), is_first);
    std::erase(waiting_, self);
    if (!has_turn) {
      turn_ended_.notify_all();
      return false;
    }
    passed_on_ = Back_Off::Clock::now();
  }
  taken_ = true;
  return true;
}

void Writer_Queue::end_turn() {
  {
    std::lock_guard lock(turn_mutex_);
    taken_ = false;
  }
  turn_ended_.notify_all();
}

// What got the descriptor's number may be read from here, but has hardly such a content. That the file still has its
// name is asked now and then, by who takes a lock.
bool Writer_Queue::nobody_waits() {
  std::lock_guard lock(file_mutex_);
  if (++turns_ % turns_between_two_names == 0) return false;
  Told told{};
  if (fd_ < 0 || pread(fd_, &told, sizeof told, told_at) != ssize_t{sizeof told} || told.magic != magic) return false;
  const std::chrono::nanoseconds since(now() - told.at);
  return since >= waiting_is_over_after;
}

void Writer_Queue::tell_of_waiting() {
  std::lock_guard lock(file_mutex_);
  if (!file_is_open() && !open_file()) return;
  const Told told{magic, now()};
  [[maybe_unused]] const ssize_t written = pwrite(fd_, &told, sizeof told, told_at);  // else a courtesy less
}

bool Writer_Queue::lock_file(Back_Off& back_off) {
  if (back_off.has_paused()) tell_of_waiting();
  const bool may_pass = Back_Off::Clock::now() - stood_in_line_ < passing_time;
  bool someone_has_it = false;
  if (may_pass && try_lock_file(0, 1, &someone_has_it)) return true;
  if (may_pass && !someone_has_it) return false;
  const bool has_turn = stand_in_line(back_off);
  stood_in_line_ = Back_Off::Clock::now();
  return has_turn;
}

// All places at once when nobody stands there, else from the last one on.
bool Writer_Queue::stand_in_line(Back_Off& back_off) {
  bool someone_has_it = false;
  if (try_lock_file(0, last_place + 1, &someone_has_it)) {
    leave_places(1, last_place);
    return true;
  }
  tell_of_waiting();
  for (int place = last_place; someone_has_it && place >= 0;) {
    if (try_lock_file(place, 1, &someone_has_it)) {
      if (place < last_place) leave_places(place + 1, 1);
      if (place-- == 0) return true;
      someone_has_it = true;
    } else if (!someone_has_it || !back_off.pause(pause_of_a_place * std::min(place + 1, longest_pause))) {
      break;
    } else {
      tell_of_waiting();
    }
  }
  unlock_file(true);
  return false;
}

bool Writer_Queue::try_lock_file(int first_place, int places, bool* out_someone_has_it) {
  std::lock_guard lock(file_mutex_);
  *out_someone_has_it = false;
  if (!file_is_open() && !open_file()) return false;
  struct flock exclusive = lock_of(F_WRLCK, first_place, places);
  if (fcntl(fd_, F_OFD_SETLK, &exclusive) == 0) return true;
  *out_someone_has_it = errno == EAGAIN || errno == EACCES || errno == EINTR;
  return false;
}

void Writer_Queue::leave_places(int first_place, int places) {
  std::lock_guard lock(file_mutex_);
  struct flock none = lock_of(F_UNLCK, first_place, places);
  if (fd_ >= 0) fcntl(fd_, F_OFD_SETLK, &none);
}

// What got the descriptor's number within one operation would lose a lock that it has just taken, and nothing else.
void Writer_Queue::unlock_file(bool asks_for_file) {
  std::lock_guard lock(file_mutex_);
  struct flock all = lock_of(F_UNLCK, 0, last_place + 1);
  if (asks_for_file ? file_is_open() : fd_ >= 0) fcntl(fd_, F_OFD_SETLK, &all);
}

// The descriptor may have been closed behind our back and may be something else now.
bool Writer_Queue::file_is_open() {
  struct stat now;
  if (fd_ < 0) return false;
  if (fstat(fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == opened_ && now.st_nlink > 0) return true;
  close_file();
  return false;
}

bool Writer_Queue::open_file() {
  // Who may not write the hive makes no file beside it either.
  if (file_.empty() || faccessat(AT_FDCWD, hive_file_.c_str(), W_OK, AT_EACCESS) != 0) return false;
  struct stat file {};
  fd_ = open_queue(file_.c_str(), mode_, hive_file_);
  if (fd_ < 0) return false;
  if (fstat(fd_, &file) == 0) opened_ = {file.st_dev, file.st_ino};
  const Told nobody{magic, 0};
  [[maybe_unused]] const ssize_t told = file.st_size <= told_at ? pwrite(fd_, &nobody, sizeof nobody, told_at) : 0;
  return true;
}

void Writer_Queue::close_file() {
  struct stat now;
  if (fd_ >= 0 && fstat(fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == opened_) close(fd_);
  fd_ = -1;
}

void Writer_Queue::before_fork() {
  turn_mutex_.lock();
  file_mutex_.lock();
  close_file();
}

void Writer_Queue::after_fork_in_parent() {
  file_mutex_.unlock();
  turn_mutex_.unlock();
}

// The thread whose turn it was is not here.
void Writer_Queue::after_fork_in_child() {
  taken_ = false;
  waiting_.clear();
  new (&turn_ended_) std::condition_variable;
  file_mutex_.unlock();
  turn_mutex_.unlock();
}

}  // namespace hive
