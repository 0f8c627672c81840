#include "hive/watch/watch_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace hive {
namespace {

constexpr mode_t permission_bits = 0777;
constexpr int open_flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
constexpr off_t smallest_file = Watch_Word::file_size;

std::string real_path(const std::string& path) {
  char* real = realpath(path.c_str(), nullptr);
  std::string result = real == nullptr ? path : real;
  free(real);
  return result;
}

// Made like the hive: whoever may write the one may write the other, also when another user made it.
int make_file(const std::string& hive_file, const std::string& file) {
  struct stat hive;
  if (stat(hive_file.c_str(), &hive) != 0) return -1;
  const mode_t mode = hive.st_mode & permission_bits;
  int fd = above_standard(::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
  if (fd < 0) return -1;
  // Who may not open it tells watchers nothing, and they find changes a second later.
  [[maybe_unused]] const int given = fchown(fd, hive.st_uid, hive.st_gid);
  [[maybe_unused]] const int opened = fchmod(fd, mode);
  return fd;
}

int open_file(const std::string& hive_file, const std::string& file, bool make) {
  int fd = above_standard(::open(file.c_str(), open_flags));
  if (fd >= 0 || errno != ENOENT || !make) return fd;
  fd = make_file(hive_file, file);
  return fd < 0 && errno == EEXIST ? above_standard(::open(file.c_str(), open_flags)) : fd;
}

bool has_size(int fd, const struct stat& file) {
  return S_ISREG(file.st_mode) && (file.st_size >= smallest_file || ftruncate(fd, smallest_file) == 0);
}

struct flock byte_of(std::int64_t id) {
  struct flock byte {};
  byte.l_type = F_WRLCK;
  byte.l_whence = SEEK_SET;
  byte.l_start = id;
  byte.l_len = 1;
  return byte;
}

}  // namespace

Watch_File::Watch_File(std::string hive_file)
    : hive_file_(std::move(hive_file)), word_(std::make_shared<Watch_Word>()) {}

Watch_File::~Watch_File() { close_file(); }

bool Watch_File::enter(std::int64_t id) {
  std::lock_guard lock(mutex_);
  find();
  id_ = id;
  if (hive_file_.empty() || (open(true) && is_locked())) return true;
  id_ = 0;
  return false;
}

bool Watch_File::keep() {
  std::lock_guard lock(mutex_);
  if (id_ == 0) return false;
  find();
  return hive_file_.empty() || (open(true) && is_locked());
}

void Watch_File::leave() {
  std::lock_guard lock(mutex_);
  if (id_ == 0) return;
  id_ = 0;
  close_file();
}

void Watch_File::ring() {
  std::lock_guard lock(mutex_);
  if (file_.empty()) find();
  if (!hive_file_.empty() && !open(false)) return;
  word_->ring();
}

bool Watch_File::is_alive(std::int64_t id) {
  std::lock_guard lock(mutex_);
  if (id == id_) return true;
  find();
  if (hive_file_.empty()) return false;
  // A file that is there and cannot be used says nothing.
  if (!open(false)) return access(file_.c_str(), F_OK) == 0;
  struct flock byte = byte_of(id);
  return fcntl(fd_, F_OFD_GETLK, &byte) == 0 && byte.l_type != F_UNLCK;
}

std::shared_ptr<Watch_Word> Watch_File::word() {
  std::lock_guard lock(mutex_);
  return word_;
}

// The parent's watcher lives on in the parent alone; the word may still be raised.
void Watch_File::after_fork_in_child() {
  id_ = 0;
  close_file();
  mutex_.unlock();
}

// The file that stands beside the hive now, and its word. A watcher takes its lock in it.
bool Watch_File::open(bool make) {
  const bool is_right = is_open() && leads_here();
  if (!is_right && !open_anew(make)) return false;
  if (id_ != 0 && !is_locked()) lock_byte();
  return true;
}

bool Watch_File::open_anew(bool make) {
  close_file();
  struct stat file;
  fd_ = open_file(hive_file_, file_, make);
  if (fd_ < 0) return false;
  if (fstat(fd_, &file) == 0 && has_size(fd_, file)) {
    opened_ = {file.st_dev, file.st_ino};
    if (map_word()) return true;
  }
  ::close(fd_);
  fd_ = -1;
  return false;
}

// Through a descriptor of its own: what is mapped keeps its open file, and would keep the lock with it, in a forked
// child too.
bool Watch_File::map_word() {
  struct stat file;
  const int fd = above_standard(::open(file_.c_str(), open_flags));
  if (fd < 0) return false;
  const bool is_same = fstat(fd, &file) == 0 && File_Identity{file.st_dev, file.st_ino} == opened_;
  auto word = is_same ? std::make_shared<Watch_Word>(fd) : nullptr;
  ::close(fd);
  if (word == nullptr || !word->is_good()) return false;
  word_ = std::move(word);
  return true;
}

// Where the file lies: beside the hive itself, also when a link leads there.
void Watch_File::find() {
  if (!hive_file_.empty()) file_ = real_path(hive_file_) + "-watch";
}

// The descriptor may have been closed behind our back and be something else by now; a file that was cut short would
// end who touches its word.
bool Watch_File::is_open() const {
  struct stat now;
  return fd_ >= 0 && fstat(fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == opened_ && now.st_nlink > 0 &&
         now.st_size >= smallest_file;
}

// Whether it is the one beside the hive: that may have been moved, or another put in its place.
bool Watch_File::leads_here() const {
  struct stat now;
  return stat(file_.c_str(), &now) == 0 && File_Identity{now.st_dev, now.st_ino} == opened_;
}

void Watch_File::lock_byte() {
  struct flock byte = byte_of(id_);
  if (fcntl(fd_, F_OFD_SETLK, &byte) == 0) locked_id_ = id_;
}

void Watch_File::close_file() {
  struct stat now;
  if (fd_ >= 0 && fstat(fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == opened_) ::close(fd_);
  fd_ = -1;
  locked_id_ = 0;
}

}  // namespace hive
