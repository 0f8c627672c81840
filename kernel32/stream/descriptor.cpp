// Stream_Descriptor: a number belongs to us as long as the file behind it is the one that we were given.
#include <kelvane/stream.h>
#include <sys/stat.h>
#include <unistd.h>

Stream_Descriptor::Stream_Descriptor(int fd) : fd_(fd), device_(0), inode_(0) {
  struct stat status;
  if (fd < 0 || fstat(fd, &status) != 0) {
    fd_ = -1;
    return;
  }
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

Stream_Descriptor::~Stream_Descriptor() {
  if (fd_ != STDOUT_FILENO && is_ours()) close(fd_);
}

bool Stream_Descriptor::is_ours() const {
  struct stat status;
  return fd_ >= 0 && fstat(fd_, &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}
