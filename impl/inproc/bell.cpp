#include "impl/inproc/bell.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace impl {
namespace {

constexpr mode_t private_file = 0600;

hive::File_Identity file_behind(int fd) {
  struct stat status;
  if (fd < 0 || fstat(fd, &status) != 0) return {};
  return {status.st_dev, status.st_ino};
}

}  // namespace

// Opened for writing, too, so that it never ends when nobody rings.
bool Bell::open(const std::string& path) {
  close();
  path_ = path;
  if (mkfifo(path.c_str(), private_file) != 0 && errno != EEXIST) return false;
  fd_ = hive::above_standard(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
  file_ = file_behind(fd_);
  return fd_ >= 0;
}

bool Bell::is_ours() const { return fd_ >= 0 && file_behind(fd_) == file_; }

bool Bell::wait() {
  for (;;) {
    // Without the descriptor nobody knows whether it rang.
    if (!is_ours()) return open(path_);
    pollfd bell = {fd_, POLLIN, 0};
    if (poll(&bell, 1, -1) < 0 && errno != EINTR) return false;
    char sounds[64];
    bool rang = false;
    while (is_ours() && read(fd_, sounds, sizeof sounds) > 0) rang = true;
    if (rang) return true;
  }
}

void Bell::close() {
  if (is_ours()) ::close(fd_);
  fd_ = -1;
}

}  // namespace impl
