// Streams on files.
#include <errno.h>
#include <fcntl.h>
#include <kelvane/stream.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr mode_t new_file_mode = 0666;

// After a call that was interrupted, or that found no room or no data at the moment; false for any other error.
bool may_try_again(int fd, short event) {
  if (errno == EINTR) return true;
  pollfd wanted = {fd, event, 0};
  return errno == EAGAIN && (poll(&wanted, 1, -1) >= 0 || errno == EINTR);
}

}  // namespace

kvofstream::kvofstream(const char* name)
    : kvofstream(open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, new_file_mode)) {}

kvofstream::kvofstream(int fd) : file_(fd) {
  if (file_.fd() < 0) fail();
}

kvofstream::~kvofstream() { flush(); }

bool kvofstream::put(const char* bytes, size_t size) {
  while (size > 0) {
    if (!file_.is_ours()) return false;
    ssize_t written = ::write(file_.fd(), bytes, size);
    if (written < 0 && !may_try_again(file_.fd(), POLLOUT)) return false;
    if (written < 0) continue;
    bytes += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

kvifstream::kvifstream(const char* name) : file_(open(name, O_RDONLY | O_CLOEXEC)) {
  if (file_.fd() < 0) fail();
}

kvifstream::~kvifstream() = default;

ssize_t kvifstream::get(char* block, size_t size) {
  ssize_t came;
  do {
    if (!file_.is_ours()) return -1;
    came = ::read(file_.fd(), block, size);
  } while (came < 0 && may_try_again(file_.fd(), POLLIN));
  return came;
}
