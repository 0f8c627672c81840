#include "impl/server/start_lock.h"

#include <fcntl.h>
#include <kelvane/process.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

namespace impl {
namespace {

constexpr mode_t pid_file_mode = 0644;
constexpr std::chrono::milliseconds pause_between(5);

// Sets or releases the lock of byte 0 at once; false with errno.
bool set_lock(int descriptor, short type) {
  struct flock first_byte {};
  first_byte.l_type = type;
  first_byte.l_whence = SEEK_SET;
  first_byte.l_len = 1;
  return fcntl(descriptor, F_OFD_SETLK, &first_byte) == 0;
}

}  // namespace

bool Start_Lock::refuse(const std::string& reason) {
  reason_ = pid_file_ + " " + reason;
  file_.reset();
  return false;
}

// A file that another user made, or that has a second name, is not written to.
bool Start_Lock::open_file() {
  if (file_) return true;
  file_ = Descriptor(KvCreatePrivateFile(pid_file_.c_str(), O_RDWR | O_CREAT | O_NONBLOCK, pid_file_mode));
  struct stat status;
  if (!file_ || fstat(file_.number(), &status) != 0)
    return refuse(std::string("cannot be opened: ") + std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return refuse("is no regular file");
  if (status.st_uid != geteuid()) return refuse("belongs to user " + std::to_string(status.st_uid));
  if (status.st_nlink > 1) return refuse("has a second name");
  if ((status.st_mode & ALLPERMS) != pid_file_mode) fchmod(file_.number(), pid_file_mode);
  return true;
}

bool Start_Lock::is_current() const {
  struct stat open_file, named;
  return file_ && fstat(file_.number(), &open_file) == 0 && lstat(pid_file_.c_str(), &named) == 0 &&
         open_file.st_ino == named.st_ino && open_file.st_dev == named.st_dev;
}

Start_Lock::Result Start_Lock::try_once() {
  for (;;) {
    if (!open_file()) return Result::unusable;
    if (!set_lock(file_.number(), F_WRLCK)) {
      if (errno == EAGAIN || errno == EACCES) {
        // The holder may be about to remove the file.
        if (!is_current()) file_.reset();
        return Result::held;
      }
      refuse(std::string("cannot be locked: ") + std::strerror(errno));
      return Result::unusable;
    }
    held_ = true;
    if (is_current()) return Result::taken;
    // It was removed or replaced between opening and locking.
    release();
    file_.reset();
  }
}

Start_Lock::Result Start_Lock::take(std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const Result result = try_once();
    if (result != Result::held || std::chrono::steady_clock::now() >= end) return result;
    std::this_thread::sleep_for(pause_between);
  }
}

bool Start_Lock::adopt(int descriptor) {
  file_ = Descriptor(descriptor);
  fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  // Taking it again through the same open file changes nothing when it was handed over.
  held_ = is_current() && set_lock(descriptor, F_WRLCK);
  return held_ || refuse("is not the file whose lock was handed over");
}

void Start_Lock::release() {
  if (held_) set_lock(file_.number(), F_UNLCK);
  held_ = false;
}

void Start_Lock::leave() {
  held_ = false;
  file_.reset();
}

bool Start_Lock::write_pid(const std::string& digits) {
  const auto size = static_cast<ssize_t>(digits.size());
  if (ftruncate(file_.number(), 0) == 0 && pwrite(file_.number(), digits.data(), digits.size(), 0) == size) return true;
  reason_ = pid_file_ + " cannot be written: " + std::strerror(errno);
  return false;
}

bool Start_Lock::names(const std::string& digits) const {
  char read_digits[32];
  if (!is_current()) return false;
  const ssize_t size = pread(file_.number(), read_digits, sizeof read_digits, 0);
  return size == static_cast<ssize_t>(digits.size()) && digits.compare(0, digits.npos, read_digits, digits.size()) == 0;
}

}  // namespace impl
