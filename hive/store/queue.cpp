#include "hive/store/queue.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

namespace hive {
namespace {

constexpr mode_t write_bits = 0222;
constexpr int write_to_read_bit = 1;

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

Writer_Queue::Turn::Turn(Writer_Queue& queue, Back_Off& back_off) : queue_(queue) {
  has_turn_ = queue_.wait_for_turn(back_off);
  has_lock_ = has_turn_ && queue_.lock_file(back_off);
}

Writer_Queue::Turn::~Turn() {
  if (has_lock_) queue_.unlock_file();
  if (has_turn_) queue_.end_turn();
}

bool Writer_Queue::wait_for_turn(Back_Off& back_off) {
  std::unique_lock lock(turn_mutex_);
  if (taken_ && !turn_ended_.wait_until(lock, back_off.deadline(), [this] { return !taken_; })) return false;
  taken_ = true;
  return true;
}

void Writer_Queue::end_turn() {
  {
    std::lock_guard lock(turn_mutex_);
    taken_ = false;
  }
  turn_ended_.notify_one();
}

bool Writer_Queue::lock_file(Back_Off& back_off) {
  do {
    bool someone_has_it = false;
    if (try_lock_file(&someone_has_it)) return true;
    if (!someone_has_it) return false;
  } while (back_off.pause());
  return false;
}

bool Writer_Queue::try_lock_file(bool* out_someone_has_it) {
  std::lock_guard lock(file_mutex_);
  if (!file_is_open() && !open_file()) return false;
  if (flock(fd_, LOCK_EX | LOCK_NB) == 0) return true;
  *out_someone_has_it = errno == EWOULDBLOCK || errno == EINTR;
  return false;
}

void Writer_Queue::unlock_file() {
  std::lock_guard lock(file_mutex_);
  if (file_is_open()) flock(fd_, LOCK_UN);
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
  struct stat file;
  fd_ = open_queue(file_.c_str(), mode_, hive_file_);
  if (fd_ < 0) return false;
  if (fstat(fd_, &file) == 0) opened_ = {file.st_dev, file.st_ino};
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
  new (&turn_ended_) std::condition_variable;
  file_mutex_.unlock();
  turn_mutex_.unlock();
}

}  // namespace hive
