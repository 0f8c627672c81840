#include "tools/kvreg/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/terminal.h"

namespace kvreg {
namespace {

constexpr std::size_t largest_file = 0x7FFFFFFF;

std::string behind_links(const std::string& path) {
  char* const real = realpath(path.c_str(), nullptr);
  std::string found = real != nullptr ? real : path;
  std::free(real);
  return found;
}

// A descriptor of a file or pipe that was opened to be read.
class Input {
 public:
  explicit Input(const std::string& file)
      : descriptor_(file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Input() {
    if (descriptor_ > STDIN_FILENO) close(descriptor_);
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  operator int() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace

New_File::New_File(const std::string& path) : path_(behind_links(path)) {
  struct stat standing {};
  const bool stands = stat(path_.c_str(), &standing) == 0;
  if (stands && S_ISDIR(standing.st_mode)) errno = EISDIR, fail("write");
  if (stands && !S_ISREG(standing.st_mode)) {
    descriptor_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail("open");
    return;
  }
  written_path_ = name_beside(path_);
  constexpr mode_t for_all = 0666;
  descriptor_ = open(written_path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, for_all);
  if (descriptor_ < 0) fail("make");
  if (stands) fchmod(descriptor_, standing.st_mode & 07777);
}

New_File::~New_File() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!written_path_.empty()) unlink(written_path_.c_str());
}

void New_File::write(std::string_view bytes) {
  while (!bytes.empty()) {
    stop_if_interrupted();
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno == EPIPE) throw Closed_Output{};
    if (written < 0) fail("write");
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void New_File::keep() {
  if (written_path_.empty()) return;
  if (fsync(descriptor_) != 0) fail("write");
  if (rename(written_path_.c_str(), path_.c_str()) != 0) fail("replace");
  written_path_.clear();
}

void New_File::fail(const char* doing) const {
  throw Complaint(std::string("cannot ") + doing + " " + path_ + ": " + std::strerror(errno));
}

bool is_there(const std::string& file) {
  struct stat standing {};
  return lstat(file.c_str(), &standing) == 0;
}

std::string name_beside(const std::string& file) {
  for (int number = 0;; ++number) {
    std::string name = file + ".new." + std::to_string(getpid()) + "." + std::to_string(number);
    if (!is_there(name)) return name;
  }
}

std::string read_whole_file(const std::string& file) {
  const Input input(file);
  std::string content;
  constexpr std::size_t block_size = 1024 * 1024;
  for (std::size_t size = 0;;) {
    stop_if_interrupted();
    content.resize(size + block_size);
    const ssize_t got = input < 0 ? -1 : read(input, content.data() + size, block_size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw Complaint("cannot read " + file + ": " + std::strerror(errno));
    size += static_cast<std::size_t>(got);
    if (size > largest_file) throw Complaint(file + " has more than 2 GiB");
    if (got != 0) continue;
    content.resize(size);
    return content;
  }
}

}  // namespace kvreg
