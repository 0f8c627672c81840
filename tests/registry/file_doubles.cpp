#include "tests/registry/file_doubles.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <windef.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace kvtest {

File_Fault& file_fault() {
  static File_Fault fault;
  return fault;
}

int& write_calls() {
  static int calls = 0;
  return calls;
}

namespace {

// Whether this call is the one that fails.
bool takes_fault(const char* call) {
  if (file_fault().call != call) return false;
  errno = file_fault().error;
  file_fault() = {};
  return true;
}

}  // namespace
}  // namespace kvtest

extern "C" KV_EXPORT int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0;
  va_end(arguments);
  if ((flags & O_CREAT) != 0 && kvtest::takes_fault("open")) return -1;
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

extern "C" KV_EXPORT ssize_t write(int file, const void* bytes, size_t size) {
  ++kvtest::write_calls();
  if (kvtest::takes_fault("write")) return -1;
  return syscall(SYS_write, file, bytes, size);
}

extern "C" KV_EXPORT int close(int file) {
  const auto closed = static_cast<int>(syscall(SYS_close, file));
  return kvtest::takes_fault("close") ? -1 : closed;
}

extern "C" KV_EXPORT int rename(const char* from, const char* to) noexcept {
  if (kvtest::takes_fault("rename")) return -1;
  return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

// Leaves another error behind than the one that led to it.
extern "C" KV_EXPORT int unlink(const char* path) noexcept {
  const int removed = unlinkat(AT_FDCWD, path, 0);
  if (removed == 0) errno = EBUSY;
  return removed;
}
