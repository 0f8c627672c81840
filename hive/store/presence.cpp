#include "hive/store/presence.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace hive {
namespace {

constexpr mode_t owner_reads_and_writes = 0600;

bool lock(int fd, int kind) { return flock(fd, kind | LOCK_NB) == 0; }

}  // namespace

Presence::~Presence() { close_file(); }

Status Presence::enter(const std::string& hive_file) {
  std::lock_guard guard(mutex_);
  move_to(hive_file + "-open");
  if (is_open() && shared_) return Status::ok;
  if (fd_ < 0 && !open_file()) {
    first_ = false;
    return Status::ok;
  }
  alone_ = first_ && lock(fd_, LOCK_EX);
  return alone_ ? Status::ok : share();
}

bool Presence::alone() const {
  std::lock_guard guard(mutex_);
  return alone_;
}

Status Presence::settle(Status opened) {
  std::lock_guard guard(mutex_);
  if (!alone_) return opened;
  alone_ = false;
  if (opened == Status::busy) {
    flock(fd_, LOCK_UN);
    return opened;
  }
  first_ = false;
  Status status = share();  // gives the exclusive lock away first: the system has no other way
  return opened == Status::ok ? status : opened;
}

// A file system without such locks is no reason to wait.
Status Presence::share() {
  shared_ = lock(fd_, LOCK_SH);
  if (!shared_ && (errno == EWOULDBLOCK || errno == EINTR)) return Status::busy;
  first_ = false;
  return Status::ok;
}

void Presence::move_to(const std::string& file) {
  if (file_ == file) return;
  close_file();
  file_ = file;
}

bool Presence::is_open() {
  struct stat now;
  if (fd_ < 0) return false;
  if (fstat(fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == opened_ && now.st_nlink > 0) return true;
  close_file();
  return false;
}

bool Presence::open_file() {
  struct stat file;
  fd_ = above_standard(open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, owner_reads_and_writes));
  if (fd_ < 0) return false;
  if (fstat(fd_, &file) == 0) opened_ = {file.st_dev, file.st_ino};
  return true;
}

void Presence::close_file() {
  struct stat now;
  if (fd_ >= 0 && fstat(fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == opened_) close(fd_);
  fd_ = -1;
  shared_ = false;
}

}  // namespace hive
