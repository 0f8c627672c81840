// Every handle of an event holds a shared flock on its FIFO for its life; so an exclusive one can be had only where no
// process has a handle. The folder's own lock is an flock on ".lock", whose file is opened anew each time: threads and
// children have nothing in common through it.
#include "kernel32/sync/event_folder.h"

#include <errno.h>
#include <fcntl.h>
#include <kelvane/process.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <mutex>
#include <vector>

#include "kernel32/process/private_folder.h"

namespace {

// The sticky bit keeps cleaners of temporary directories from taking the file for a forgotten one.
constexpr mode_t lock_file_mode = S_ISVTX | 0600;

std::mutex& folder_mutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

// Registered while the library is loaded, as that of the table of handles is.
[[maybe_unused]] const int forks_guarded =
    pthread_atfork([] { folder_mutex().lock(); }, [] { folder_mutex().unlock(); }, [] { folder_mutex().unlock(); });

bool wait_for_lock(int fd) {
  int result = 0;
  do {
    result = flock(fd, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

// Whether the path still leads to the open file.
bool is_at(int fd, const std::string& path) {
  struct stat opened;
  struct stat there;
  return fstat(fd, &opened) == 0 && lstat(path.c_str(), &there) == 0 && opened.st_dev == there.st_dev &&
         opened.st_ino == there.st_ino;
}

void close_keeping_errno(int fd) {
  const int error = errno;
  close(fd);
  errno = error;
}

}  // namespace

inline namespace kelvane {

Event_Folder_Lock::Event_Folder_Lock(const std::string& folder) {
  folder_mutex().lock();
  const std::string file = folder + "/.lock";
  do {
    if (!make_private_folder_among_others(folder)) {
      error_ = errno;
      return;
    }
  } while (!lock_file(file) && error_ == 0);
}

// False without an error when the file was replaced while we waited for it.
bool Event_Folder_Lock::lock_file(const std::string& file) {
  const int fd = KvCreatePrivateFile(file.c_str(), O_RDWR | O_CREAT, 0600);
  if (fd < 0 || !wait_for_lock(fd)) {
    error_ = errno;
    if (fd >= 0) close(fd);
    return false;
  }
  if (!is_at(fd, file)) {
    close(fd);
    return false;
  }
  fchmod(fd, lock_file_mode);
  fd_ = fd;
  return true;
}

Event_Folder_Lock::~Event_Folder_Lock() {
  if (fd_ >= 0) {
    flock(fd_, LOCK_UN);
    close(fd_);
  }
  folder_mutex().unlock();
}

std::string event_folder() { return std::string(KvTmpDir(0)) + "/kv-events-" + std::to_string(geteuid()); }

int open_event_fifo(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW);
  struct stat status;
  if (fd < 0 || (fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode))) return fd;
  close(fd);
  errno = ENOTDIR;
  return -1;
}

bool is_alone_with(int fifo) { return flock(fifo, LOCK_EX | LOCK_NB) == 0; }

bool make_folders_of(const std::string& folder, const std::string& path) {
  for (size_t end = path.find('/', folder.size() + 1); end != path.npos; end = path.find('/', end + 1)) {
    if (!make_private_folder_among_others(path.substr(0, end))) return false;
  }
  return true;
}

void remove_unused_event(const std::string& folder, const std::string& path) {
  const int fifo = open_event_fifo(path);
  if (fifo < 0) return;
  const bool unused = is_alone_with(fifo);
  if (unused) unlink(path.c_str());
  close_keeping_errno(fifo);
  std::string parent = path;
  while (unused && (parent = parent.substr(0, parent.rfind('/'))) != folder && rmdir(parent.c_str()) == 0) {
  }
}

void sweep_events(const std::string& folder) {
  std::vector<std::string> found;
  std::error_code failure;
  std::filesystem::recursive_directory_iterator at(folder, failure);
  for (; !failure && at != std::filesystem::recursive_directory_iterator(); at.increment(failure)) {
    if (at->is_fifo(failure)) found.push_back(at->path().string());
  }
  for (const std::string& path : found) remove_unused_event(folder, path);
}

}  // namespace kelvane
