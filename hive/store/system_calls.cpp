#include "hive/store/system_calls.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

namespace hive {
namespace {

constexpr int first_free_descriptor = 3;

// Plain types: nothing is constructed or destroyed with a thread.
thread_local Descriptors* recorder = nullptr;
thread_local bool abandoning = false;
thread_local int system_error = 0;
thread_local bool log_was_taken_over = false;

// The head of a frame, which waits for its page.
constexpr size_t size_of_frame_head = 24;
struct Frame_Head {
  int fd = -1;  // none
  off_t place = 0;
  std::array<unsigned char, size_of_frame_head> bytes{};
};
thread_local Frame_Head frame_head;
thread_local off_t last_read = -1;  // where, before the next write

// SQLite's own functions, as they were before ours were put in front of them.
struct System_Calls {
  int (*open)(const char*, int, int);
  int (*close)(int);
  int (*fcntl)(int, int, ...);
  int (*ftruncate)(int, off_t);
  ssize_t (*read)(int, void*, size_t);
  ssize_t (*pread)(int, void*, size_t, off_t);
  ssize_t (*pread64)(int, void*, size_t, off_t);
  ssize_t (*write)(int, const void*, size_t);
  ssize_t (*pwrite)(int, const void*, size_t, off_t);
  ssize_t (*pwrite64)(int, const void*, size_t, off_t);
  int (*fallocate)(int, off_t, off_t);
  int (*fchmod)(int, mode_t);
  int (*fchown)(int, uid_t, gid_t);
  int (*unlink)(const char*);
};
System_Calls real;

// Whether the descriptor may be used; errno when not.
bool may_touch(int fd) {
  if (recorder == nullptr || recorder->is_ours(fd)) return true;
  errno = EBADF;
  return false;
}

template <typename Result>
Result noting_failure(Result result) {
  if (result < 0) system_error = errno;
  return result;
}

int open_above_standard(const char* path, int flags, int mode) {
  if (abandoning) return -1;
  int fd = noting_failure(above_standard(real.open(path, flags | O_CLOEXEC, mode)));
  if (fd >= 0 && recorder != nullptr) recorder->opened(fd, path);
  return fd;
}

int close_recorded(int fd) {
  if (abandoning) return 0;
  if (recorder != nullptr) recorder->closed(fd);
  return real.close(fd);
}

int control(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (abandoning) return 0;
  const int result = may_touch(fd) ? real.fcntl(fd, command, argument) : -1;
  const bool unlocks = command == F_SETLK && static_cast<const struct flock*>(argument)->l_type == F_UNLCK;
  if (result < 0 && unlocks && recorder != nullptr) recorder->note_stuck_lock();
  return result;
}

int truncate(int fd, off_t size) {
  if (abandoning) return 0;
  return noting_failure(may_touch(fd) ? real.ftruncate(fd, size) : -1);
}

ssize_t read_file(int fd, void* data, size_t size) {
  if (abandoning) return 0;
  return may_touch(fd) ? real.read(fd, data, size) : -1;
}

// SQLite has been told that it is written. False: it could not be.
bool write_held_head() {
  if (frame_head.fd < 0) return true;
  const int fd = std::exchange(frame_head.fd, -1);
  return pwrite(fd, frame_head.bytes.data(), size_of_frame_head, frame_head.place) == ssize_t{size_of_frame_head};
}

template <ssize_t (*System_Calls::*call)(int, void*, size_t, off_t)>
ssize_t read_at(int fd, void* data, size_t size, off_t place) {
  if (abandoning) return 0;
  last_read = place;
  return may_touch(fd) && write_held_head() ? (real.*call)(fd, data, size, place) : -1;
}

ssize_t write_file(int fd, const void* data, size_t size) {
  if (abandoning) return static_cast<ssize_t>(size);
  return noting_failure(may_touch(fd) ? real.write(fd, data, size) : -1);
}

// Only before its page comes: who sums up frames anew reads each and writes its head alone.
bool hold_frame_head(int fd, const void* data, size_t size, off_t place) {
  const bool is_written_alone = std::exchange(last_read, -1) == place;
  if (size != size_of_frame_head || is_written_alone || recorder == nullptr || !recorder->is_log(fd)) return false;
  frame_head.fd = fd;
  frame_head.place = place;
  std::memcpy(frame_head.bytes.data(), data, size);
  return true;
}

// What of the page was written; a head alone is no frame.
ssize_t write_frame(const void* page, size_t size) {
  const std::array<iovec, 2> parts{iovec{frame_head.bytes.data(), size_of_frame_head},
                                   iovec{const_cast<void*>(page), size}};
  const ssize_t written = pwritev(std::exchange(frame_head.fd, -1), parts.data(), parts.size(), frame_head.place);
  return written < 0 ? written : std::max<ssize_t>(written - ssize_t{size_of_frame_head}, 0);
}

template <ssize_t (*System_Calls::*call)(int, const void*, size_t, off_t)>
ssize_t write_at(int fd, const void* data, size_t size, off_t place) {
  if (abandoning) return static_cast<ssize_t>(size);
  if (!may_touch(fd)) return noting_failure(ssize_t{-1});
  const bool is_page_of_frame = frame_head.fd == fd && place == frame_head.place + off_t{size_of_frame_head};
  if (is_page_of_frame) return noting_failure(write_frame(data, size));
  if (!write_held_head()) return noting_failure(ssize_t{-1});
  if (hold_frame_head(fd, data, size, place)) return static_cast<ssize_t>(size);
  return noting_failure((real.*call)(fd, data, size, place));
}

int allocate(int fd, off_t place, off_t size) {
  if (abandoning) return 0;
  return noting_failure(may_touch(fd) ? real.fallocate(fd, place, size) : -1);
}

int change_mode(int fd, mode_t mode) { return abandoning ? 0 : real.fchmod(fd, mode); }

int change_owner(int fd, uid_t owner, gid_t group) { return abandoning ? 0 : real.fchown(fd, owner, group); }

int remove_name(const char* path) { return abandoning ? 0 : real.unlink(path); }

// A call that this build of SQLite does not make is passed over.
template <typename Function>
void replace(sqlite3_vfs* vfs, const char* name, Function& original, Function ours) {
  sqlite3_syscall_ptr current = vfs->xGetSystemCall(vfs, name);
  if (current == nullptr) return;
  original = reinterpret_cast<Function>(current);
  vfs->xSetSystemCall(vfs, name, reinterpret_cast<sqlite3_syscall_ptr>(ours));
}

void note_message(void*, int code, const char*) {
  if (code == SQLITE_NOTICE_RECOVER_WAL) log_was_taken_over = true;
}

void install() {
  sqlite3_vfs* vfs = sqlite3_vfs_find("unix");
  if (vfs == nullptr || vfs->iVersion < 3) return;
  replace(vfs, "open", real.open, &open_above_standard);
  replace(vfs, "close", real.close, &close_recorded);
  replace(vfs, "fcntl", real.fcntl, &control);
  replace(vfs, "ftruncate", real.ftruncate, &truncate);
  replace(vfs, "read", real.read, &read_file);
  replace(vfs, "pread", real.pread, &read_at<&System_Calls::pread>);
  replace(vfs, "pread64", real.pread64, &read_at<&System_Calls::pread64>);
  replace(vfs, "write", real.write, &write_file);
  replace(vfs, "pwrite", real.pwrite, &write_at<&System_Calls::pwrite>);
  replace(vfs, "pwrite64", real.pwrite64, &write_at<&System_Calls::pwrite64>);
  replace(vfs, "fallocate", real.fallocate, &allocate);
  replace(vfs, "fchmod", real.fchmod, &change_mode);
  replace(vfs, "fchown", real.fchown, &change_owner);
  replace(vfs, "unlink", real.unlink, &remove_name);
}

bool still_there(const Descriptor& descriptor) {
  struct stat now;
  return fstat(descriptor.fd, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == descriptor.file;
}

// Puts the offset where that of no other file is. -1 where the file system has no such place.
off_t mark(int fd) {
  constexpr off_t first = off_t{1} << 40;
  constexpr int bits_of_count = 20;
  static std::atomic<std::uint32_t> count{0};
  static const auto of_process = [] {
    std::uint16_t number = 0;
    [[maybe_unused]] const ssize_t size = getrandom(&number, sizeof number, GRND_NONBLOCK);
    return off_t{number} << bits_of_count;
  }();
  const off_t place = first + of_process + ++count % (1u << bits_of_count);
  return lseek(fd, place, SEEK_SET) == place ? place : -1;
}

bool stands_at_mark(const Descriptor& descriptor) {
  return descriptor.mark < 0 ? still_there(descriptor) : lseek(descriptor.fd, 0, SEEK_CUR) == descriptor.mark;
}

}  // namespace

void Descriptors::opened(int fd, const char* path) {
  struct stat file;
  if (fstat(fd, &file) != 0) return;
  const bool is_log = std::string_view(path).ends_with("-wal");
  list_.push_back({fd, {file.st_dev, file.st_ino}, file.st_nlink, is_log, true, mark(fd)});
}

void Descriptors::closed(int fd) {
  std::erase_if(list_, [fd](const Descriptor& descriptor) { return descriptor.fd == fd; });
}

bool Descriptors::intact() const {
  return !has_stuck_lock_ && std::all_of(list_.begin(), list_.end(), [](const Descriptor& descriptor) {
    struct stat now;
    return fstat(descriptor.fd, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == descriptor.file &&
           now.st_nlink == descriptor.links;
  });
}

bool Descriptors::are_ours() const {
  return !has_stuck_lock_ && std::all_of(list_.begin(), list_.end(), &stands_at_mark);
}

bool Descriptors::is_ours(int fd) {
  const auto found = std::find_if(list_.begin(), list_.end(), [fd](const Descriptor& each) { return each.fd == fd; });
  if (found == list_.end()) return true;
  found->is_known = found->is_known || stands_at_mark(*found);
  return found->is_known;
}

void Descriptors::set_known(bool known) {
  for (Descriptor& descriptor : list_) descriptor.is_known = known;
}

bool Descriptors::is_log(int fd) const {
  return std::any_of(list_.begin(), list_.end(),
                     [fd](const Descriptor& descriptor) { return descriptor.fd == fd && descriptor.is_log; });
}

void Descriptors::close_own() {
  for (const Descriptor& descriptor : list_) {
    if (still_there(descriptor) && (fcntl(descriptor.fd, F_GETFD) & FD_CLOEXEC) != 0) ::close(descriptor.fd);
  }
  list_.clear();
}

bool Descriptors::sync() const {
  return std::all_of(list_.begin(), list_.end(),
                     [](const Descriptor& descriptor) { return fdatasync(descriptor.fd) == 0; });
}

Recording::Recording(Descriptors& descriptors, Kind kind) : before_(recorder) {
  descriptors.set_known(kind == of_known_descriptors);
  recorder = &descriptors;
}

Recording::~Recording() { recorder = before_; }

Abandoning::Abandoning() { abandoning = true; }

Abandoning::~Abandoning() { abandoning = false; }

void install_system_calls() {
  static std::once_flag once;
  std::call_once(once, [] {
    sqlite3_config(SQLITE_CONFIG_LOG, &note_message, nullptr);
    sqlite3_initialize();
    install();
  });
}

bool took_log_over() { return std::exchange(log_was_taken_over, false); }

int last_system_error() { return system_error; }

void clear_system_error() { system_error = 0; }

int above_standard(int fd) {
  if (fd < 0 || fd >= first_free_descriptor) return fd;
  int copy = fcntl(fd, F_DUPFD_CLOEXEC, first_free_descriptor);
  int reason = errno;
  ::close(fd);
  errno = reason;
  return copy;
}

}  // namespace hive
