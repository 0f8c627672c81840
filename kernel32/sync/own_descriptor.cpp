// A FIFO is told by device and inode. All eventfds of a system share one inode, and so may all pidfds: they carry a
// mark beside it, the number of a signal that is never sent, which stays with the open file also across a fork. When
// a number that a program has closed comes to a new owner of ours, the old one must not take it for its own: each
// number knows its last owner.
#include "kernel32/sync/own_descriptor.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <utility>

namespace {

// The last owner of each number; higher ones are told by their files alone.
constexpr int numbers_with_owner = 1 << 16;
std::atomic<std::uint32_t> last_owner[numbers_with_owner];
std::atomic<std::uint32_t> last_id;

std::uint32_t become_owner(int fd) {
  if (fd >= numbers_with_owner) return 0;
  const std::uint32_t id = ++last_id;
  last_owner[fd] = id;
  return id;
}

bool is_owner(int fd, std::uint32_t id) { return fd >= numbers_with_owner || last_owner[fd] == id; }

int above_standard(int fd) {
  if (fd < 0 || fd > STDERR_FILENO) return fd;
  const int higher = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  close(fd);
  errno = error;
  return higher;
}

// The mark that the file has now; 0 where the system has no such marks.
int put_mark(int fd) {
  if (fcntl(fd, F_SETSIG, SIGRTMAX - 3) != 0) return 0;
  return fcntl(fd, F_GETSIG);
}

}  // namespace

Own_Descriptor::Own_Descriptor(int fd) : fd_(above_standard(fd)) {
  struct stat status;
  if (fd_ < 0 || fstat(fd_, &status) != 0) return;
  id_ = become_owner(fd_);
  device_ = status.st_dev;
  inode_ = status.st_ino;
  if (!S_ISFIFO(status.st_mode)) mark_ = put_mark(fd_);
}

Own_Descriptor::Own_Descriptor(Own_Descriptor&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)),
      id_(other.id_),
      device_(other.device_),
      inode_(other.inode_),
      mark_(other.mark_) {}

Own_Descriptor& Own_Descriptor::operator=(Own_Descriptor&& other) noexcept {
  if (this == &other) return *this;
  reset();
  fd_ = std::exchange(other.fd_, -1);
  id_ = other.id_;
  device_ = other.device_;
  inode_ = other.inode_;
  mark_ = other.mark_;
  return *this;
}

bool Own_Descriptor::is_ours() const {
  struct stat status;
  if (fd_ < 0 || !is_owner(fd_, id_) || fstat(fd_, &status) != 0) return false;
  if (status.st_dev != device_ || status.st_ino != inode_) return false;
  return mark_ == 0 || fcntl(fd_, F_GETSIG) == mark_;
}

void Own_Descriptor::reset() {
  if (is_ours()) close(fd_);
  fd_ = -1;
}
