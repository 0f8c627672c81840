// Replacing the file of the user's hive. Runs while the process ends: no containers, no strings.

#include "registry/hkcu_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <winerror.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "registry/unique_name.h"

inline namespace kelvane {
namespace {

constexpr mode_t file_mode = 0666;

DWORD code_of(int error) { return error == ENOSPC ? ERROR_DISK_FULL : ERROR_ACCESS_DENIED; }

DWORD give_up(const char* name, DWORD code) {
  unlink(name);
  return code;
}

}  // namespace
}  // namespace kelvane

DWORD KvWriteHKCUFile(const char* path, unsigned char* data, int length) {
  char name[unique_name_size];
  KvCreateUniqFileName(name, sizeof name, path);
  // Cut down to the file's own name it would be the file that stands.
  if (std::strcmp(name, path) == 0) return ERROR_ACCESS_DENIED;
  const int file = open(name, O_WRONLY | O_CREAT, file_mode);
  if (file == -1) return code_of(errno);
  chmod(name, file_mode);
  const ssize_t written = write(file, data, static_cast<size_t>(length));
  // QUIRK short-write-leaks: the descriptor of a short write stays open; the process is about to end.
  if (written < 0 || written < length) return give_up(name, ERROR_DISK_FULL);
  if (close(file) != 0) return give_up(name, ERROR_DISK_FULL);
  if (rename(name, path) == 0) return ERROR_SUCCESS;
  const int error = errno;
  return give_up(name, code_of(error));
}
