#include "hive/cache/ring_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace hive {
namespace {

constexpr mode_t permission_bits = 0777;
constexpr int open_flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
constexpr unsigned tries_between_two = 64;
constexpr unsigned looks_between_two_names = 64;

bool is_of_right_kind(const struct stat& file, const struct stat& hive) {
  return S_ISREG(file.st_mode) && file.st_nlink == 1 && file.st_uid == hive.st_uid;
}

bool has_rights_of(const struct stat& file, const struct stat& hive) {
  return file.st_gid == hive.st_gid && ((file.st_mode ^ hive.st_mode) & permission_bits) == 0;
}

bool give_rights_of(int fd, const struct stat& hive) {
  return fchown(fd, hive.st_uid, hive.st_gid) == 0 && fchmod(fd, hive.st_mode & permission_bits) == 0;
}

// Of no use to others unless it is as the hive is.
int make_file(const std::string& file, const struct stat& hive) {
  constexpr mode_t nobody_else = 0600;
  const int fd = above_standard(::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | open_flags, nobody_else));
  if (fd < 0 || give_rights_of(fd, hive)) return fd;
  unlink(file.c_str());
  close(fd);
  return -1;
}

using Head = std::array<std::uint64_t, Commit_Ring::words_of_head>;

// Memory of a file that has room for all of it: a full disk is noticed here, and not when the memory is written to.
bool has_room(int fd, const struct stat& file, bool make) {
  constexpr auto size = static_cast<off_t>(Commit_Ring::size);
  return make ? posix_fallocate(fd, 0, size) == 0 : file.st_size >= size;
}

// What is left of a head that was cut short is written anew.
bool has_right_form(int fd, const struct stat& before, bool make) {
  constexpr Head right{Commit_Ring::magic, Commit_Ring::form};
  Head head{};
  if (pread(fd, head.data(), sizeof head, 0) != static_cast<ssize_t>(sizeof head)) return false;
  if (head == right) return true;
  const bool has_none = head == Head{} || before.st_size < static_cast<off_t>(sizeof head);
  return make && has_none && pwrite(fd, right.data(), sizeof right, 0) == static_cast<ssize_t>(sizeof right);
}

}  // namespace

void Ring_File::move_to(const std::string& hive_file) {
  let_go();
  hive_file_ = hive_file;
  file_ = hive_file + "-ring";
  tries_to_pass_over_ = 0;
}

void Ring_File::let_go() {
  struct stat now;
  if (fd_ >= 0 && fstat(fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == mapped_) close(fd_);
  fd_ = -1;
  if (memory_ != nullptr) munmap(memory_, Commit_Ring::size);
  memory_ = nullptr;
  ring_.reset();
}

const Commit_Ring* Ring_File::to_read() {
  if (!still_stands()) open(false);
  return ring_.get();
}

Commit_Ring* Ring_File::to_tell() {
  if (!still_stands() || !may_tell_) {
    if (tries_to_pass_over_ > 0) {
      --tries_to_pass_over_;
      return nullptr;
    }
    open(true);
    if (ring_ == nullptr || !may_tell_) tries_to_pass_over_ = tries_between_two;
  }
  return may_tell_ ? ring_.get() : nullptr;
}

bool Ring_File::still_stands() {
  struct stat now;
  if (ring_ == nullptr || fstat(fd_, &now) != 0 || !is_as_mapped(now)) return false;
  if (++looks_at_descriptor_ < looks_between_two_names) return true;
  looks_at_descriptor_ = 0;
  return stat(file_.c_str(), &now) == 0 && is_as_mapped(now);
}

// A descriptor that was closed behind our back may be another file's.
bool Ring_File::is_as_mapped(const struct stat& now) const {
  return File_Identity{now.st_dev, now.st_ino} == mapped_ && now.st_size >= static_cast<off_t>(Commit_Ring::size) &&
         now.st_nlink == 1;
}

void Ring_File::open(bool make) {
  let_go();
  struct stat hive;
  if (hive_file_.empty() || stat(hive_file_.c_str(), &hive) != 0) return;
  const int fd = find(hive, make);
  if (fd < 0) return;
  map(fd, hive, make && may_tell_);
  if (ring_ == nullptr) {
    close(fd);
  } else {
    fd_ = fd;
  }
}

int Ring_File::find(const struct stat& hive, bool make) {
  may_tell_ = true;
  int fd = above_standard(::open(file_.c_str(), O_RDWR | open_flags));
  if (fd < 0 && errno == ENOENT && make) fd = make_file(file_, hive);
  if (fd >= 0 || make) return fd;
  may_tell_ = false;
  return above_standard(::open(file_.c_str(), O_RDONLY | open_flags));
}

void Ring_File::map(int fd, const struct stat& hive, bool make) {
  struct stat file;
  if (fstat(fd, &file) != 0 || !is_of_right_kind(file, hive)) return;
  if (!has_rights_of(file, hive) && !(make && give_rights_of(fd, hive))) return;
  if (!has_room(fd, file, make) || !has_right_form(fd, file, make)) return;
  const int access = may_tell_ ? PROT_READ | PROT_WRITE : PROT_READ;
  void* memory = mmap(nullptr, Commit_Ring::size, access, MAP_SHARED, fd, 0);
  if (memory == MAP_FAILED) return;
  memory_ = memory;
  mapped_ = {file.st_dev, file.st_ino};
  looks_at_descriptor_ = 0;
  ring_ = std::make_unique<Commit_Ring>(static_cast<std::uint64_t*>(memory));
}

}  // namespace hive
