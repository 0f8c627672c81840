// Reads through one descriptor: a writer replaces the file by renaming another over it, so what was opened
// stays whole.
#include "hive/image/image_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <mutex>

#include "hive/image/image.h"

namespace hive {
namespace {

constexpr int poll_ms = 10;
constexpr int max_aside_names = 10000;

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return number_; }

 private:
  int number_;
};

// The lock that this process has taken: a second descriptor of the same file would wait for the first.
struct Held_Lock {
  pid_t process = 0;
  dev_t device = 0;
  ino_t inode = 0;

  static Held_Lock of(int descriptor) {
    struct stat found {};
    fstat(descriptor, &found);
    return {getpid(), found.st_dev, found.st_ino};
  }
  bool operator==(const Held_Lock&) const = default;
};

Status status_of(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
      return Status::denied;
    case ENOMEM:
      return Status::no_memory;
    default:
      return Status::io_failed;
  }
}

// Fills room bytes from the start; a file that has become shorter gives fewer.
Status read_whole(int descriptor, std::vector<unsigned char>* bytes, std::size_t size) {
  std::size_t done = bytes->size();
  bytes->resize(size);
  while (done < size) {
    const ssize_t got = pread(descriptor, bytes->data() + done, size - done, static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return status_of(errno);
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  bytes->resize(done);
  return Status::ok;
}

void wait_a_little() {
  const timespec pause{0, poll_ms * 1000 * 1000};
  nanosleep(&pause, nullptr);
}

// Not over a file that stands, also where the file system has no such rename.
bool rename_to_free_name(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  struct stat found;
  if (lstat(to.c_str(), &found) == 0) {
    errno = EEXIST;
    return false;
  }
  return rename(from.c_str(), to.c_str()) == 0;
}

bool write_whole(int descriptor, const std::vector<unsigned char>& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t put = write(descriptor, bytes.data() + done, bytes.size() - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<std::size_t>(put);
  }
  return fsync(descriptor) == 0;
}

// At most the size given, and no more than its head of what is no image.
Status read_up_to(const std::string& file, std::size_t most, std::vector<unsigned char>* out_bytes) {
  out_bytes->clear();
  const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (descriptor.number() < 0) return errno == ENOENT ? Status::ok : status_of(errno);
  struct stat found;
  if (fstat(descriptor.number(), &found) != 0) return status_of(errno);
  if (!S_ISREG(found.st_mode)) return Status::not_a_hive;
  const auto size = std::min(static_cast<std::size_t>(found.st_size), most);
  Status status = read_whole(descriptor.number(), out_bytes, std::min(size, image_head_size));
  if (status != Status::ok || out_bytes->empty()) return status;
  Image_Prologue prologue;
  status = read_image_prologue(*out_bytes, &prologue);
  if (status != Status::ok || size <= image_head_size) return status;
  // The head tells how much follows: no memory is taken for a file of another size.
  if (prologue.length != size - image_head_size) return Status::damaged;
  return read_whole(descriptor.number(), out_bytes, size);
}

}  // namespace

Status read_image_file(const std::string& file, std::vector<unsigned char>* out_bytes) {
  return read_up_to(file, std::numeric_limits<std::size_t>::max(), out_bytes);
}

Status read_image_head(const std::string& file, std::vector<unsigned char>* out_bytes) {
  return read_up_to(file, image_head_size, out_bytes);
}

std::string write_beside(const std::string& file, const char* word, const std::vector<unsigned char>& bytes) {
  for (int n = 1; n <= max_aside_names; ++n) {
    const std::string name = file + "." + word + "." + std::to_string(n);
    const Descriptor descriptor(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (descriptor.number() < 0 && errno == EEXIST) continue;
    if (descriptor.number() < 0) return "";
    if (write_whole(descriptor.number(), bytes)) return name;
    unlink(name.c_str());
    return "";
  }
  return "";
}

std::string set_aside(const std::string& file, const char* word) {
  for (int n = 1; n <= max_aside_names; ++n) {
    const std::string name = file + "." + word + "." + std::to_string(n);
    if (rename_to_free_name(file, name)) return name;
    if (errno != EEXIST) return "";
  }
  return "";
}

bool lock_for_ever(const std::string& file, int wait_ms) {
  static std::mutex mutex;
  static Held_Lock held;
  const std::lock_guard guard(mutex);
  const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (descriptor < 0) return false;
  const Held_Lock wanted = Held_Lock::of(descriptor);
  if (wanted == held) {
    close(descriptor);
    return true;
  }
  for (int waited = 0; flock(descriptor, LOCK_EX | LOCK_NB) != 0; waited += poll_ms) {
    const bool held_by_another = errno == EWOULDBLOCK || errno == EINTR;
    if (!held_by_another || waited >= wait_ms) {
      close(descriptor);
      return false;
    }
    wait_a_little();
  }
  held = wanted;
  return true;  // the descriptor is kept open on purpose
}

}  // namespace hive
