// Read by position: a file that has got the number meanwhile is not moved.
#include "impl/inproc/whole_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace impl {
namespace {

class File {
 public:
  explicit File(const std::string& path) : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW)) {}
  ~File() {
    if (fd_ >= 0) close(fd_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int fd() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

std::optional<std::string> content_of(const std::string& path) {
  constexpr std::size_t piece_size = 4096;
  const File file(path);
  std::string content;
  for (;;) {
    const std::size_t size = content.size();
    content.resize(size + piece_size + size / 2);
    const ssize_t got = pread(file.fd(), content.data() + size, content.size() - size, static_cast<off_t>(size));
    if (got < 0) return std::nullopt;
    content.resize(size + static_cast<std::size_t>(got));
    if (got == 0) return content;
  }
}

}  // namespace impl
