#include "impl/client/own_socket.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace impl::client {
namespace {

constexpr int first_free_number = STDERR_FILENO + 1;

int above_standard(int fd) {
  if (fd < 0 || fd >= first_free_number) return fd;
  const int copy = fcntl(fd, F_DUPFD_CLOEXEC, first_free_number);
  close(fd);
  return copy;
}

}  // namespace

Own_Socket::Own_Socket(int fd) : fd_(above_standard(fd)) {
  struct stat found;
  if (fd_ < 0 || fstat(fd_, &found) != 0) return;
  device_ = found.st_dev;
  inode_ = found.st_ino;
}

Own_Socket::Own_Socket(Own_Socket&& other) noexcept { *this = std::move(other); }

Own_Socket& Own_Socket::operator=(Own_Socket&& other) noexcept {
  std::swap(fd_, other.fd_);
  std::swap(device_, other.device_);
  std::swap(inode_, other.inode_);
  return *this;
}

bool Own_Socket::is_ours() const {
  struct stat found;
  return fd_ >= 0 && fstat(fd_, &found) == 0 && found.st_dev == device_ && found.st_ino == inode_;
}

void Own_Socket::close() {
  if (is_ours()) ::close(fd_);
  fd_ = -1;
}

}  // namespace impl::client
