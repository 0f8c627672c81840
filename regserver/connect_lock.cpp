// The pid file as a record of the running server and as the lock of start-up, which is its first byte.

#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "regserver/connect_data.h"

inline namespace kelvane {
namespace {

constexpr std::size_t max_digits = 10;
constexpr int fatal_status = 1;
constexpr int failed = -1;

// The texts of the lock and of the release differ, to the full stop.
// QUIRK lock-texts: "pid %d" without and "pid = %d." with, and so with the first question for the file's state.
constexpr char cannot_lock[] = "Failed locking file %s pid %d\n";
constexpr char cannot_unlock[] = "Failed unlocking file %s pid = %d.\n";
constexpr char cannot_stat_locked[] = "Cannot stat(1) fd of file_lock %s\n";
constexpr char cannot_stat_unlocked[] = "Cannot stat(1) fd of file_lock %s.\n";
constexpr char cannot_stat_name[] = "Cannot stat(2) file_lock %s.\n";

bool is_same(const struct stat& one, const struct stat& other) {
  return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

}  // namespace

int RegConnectData::IsAlive() {
  if (fd == -1) return 0;
  char digits[max_digits + 1];
  lseek(fd, 0, SEEK_SET);
  const ssize_t size = read(fd, digits, max_digits);
  if (size < 1) return 0;
  digits[size] = '\0';
  // QUIRK pid-zero-alive: a file without a number asks for process 0, this process's own group, which is there.
  if (kill(std::atoi(digits), 0) == 0) return 1;
  return errno == EPERM ? 1 : 0;
}

bool RegConnectData::is_current(const struct stat& open_file) const {
  struct stat named;
  return stat(pidFile, &named) == 0 && is_same(open_file, named);
}

int RegConnectData::ConnectLock() {
  for (;;) {
    if (KvIsAdmUtility() != 0) return 0;
    if (fd == -1 && !open_for_lock()) return failed;
    if (fcntl(fd, F_SETLKW, &lockRequest) == -1) {
      std::fprintf(stderr, cannot_lock, pidFile, static_cast<int>(getpid()));
      return failed;
    }
    struct stat locked;
    if (fstat(fd, &locked) != 0) {
      std::fprintf(stderr, cannot_stat_locked, pidFile);
      return failed;
    }
    if (is_current(locked)) return 0;
    // The file was removed or replaced while this process waited: the lock is that of a file nobody finds.
    close_pid_file();
  }
}

int RegConnectData::ConnectUnlock(int verify) {
  if (KvIsAdmUtility() != 0) return 0;
  if (fd == -1) return failed;
  if (fcntl(fd, F_SETLKW, &unlockRequest) == -1) {
    std::fprintf(stderr, cannot_unlock, pidFile, static_cast<int>(getpid()));
    return failed;
  }
  if (verify == 0) return 0;
  struct stat unlocked, named;
  if (fstat(fd, &unlocked) != 0) {
    std::fprintf(stderr, cannot_stat_unlocked, pidFile);
    return failed;
  }
  if (stat(pidFile, &named) != 0) {
    std::fprintf(stderr, cannot_stat_name, pidFile);
    return failed;
  }
  if (is_same(unlocked, named)) return 0;
  close_pid_file();
  return failed;
}

int RegConnectData::RegisterServer() {
  const char* const port = getPortName();
  if (port != nullptr) unlink(port);
  [[maybe_unused]] const int emptied = ftruncate(fd, 0);
  char digits[max_digits + 2];
  const int length = std::snprintf(digits, sizeof digits, "%d", static_cast<int>(getpid()));
  lseek(fd, 0, SEEK_SET);
  if (write(fd, digits, static_cast<std::size_t>(length)) != length) {
    std::fprintf(stderr, "RegisterServer failed: cannot write file: %s\n", pidFile);
    Kv_Exit(fatal_status);
  }
  return 0;
}

int RegConnectData::ConnectUnlink() { return unlink(pidFile); }

}  // namespace kelvane
