#include "impl/client/hive_files.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <winerror.h>

#include <array>
#include <cerrno>

namespace impl::client {
namespace {

using wire::Unique_Fd;

constexpr mode_t owner_reads_and_writes = 0600;
constexpr mode_t owner_may_all = 0700;
constexpr std::size_t piece_size = 1 << 16;
constexpr int all_seals = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;
constexpr const char* log_suffix = "-wal";

DWORD code_of_errno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return ERROR_FILE_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
      return ERROR_ACCESS_DENIED;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case ENOSPC:
    case EDQUOT:
      return ERROR_DISK_FULL;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    default:
      return ERROR_REGISTRY_IO_FAILED;
  }
}

bool write_all(int fd, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(fd, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

// Calls use(piece, size) for what a descriptor holds from its beginning on; false with errno when that fails.
template <class Use>
bool for_each_piece(int from, Use use) {
  std::array<char, piece_size> piece;
  for (off_t done = 0;;) {
    const ssize_t got = pread(from, piece.data(), piece.size(), done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    if (!use(piece.data(), static_cast<std::size_t>(got))) return false;
    done += got;
  }
}

bool copy(int from, int to) {
  return for_each_piece(from, [to](const char* data, std::size_t size) { return write_all(to, data, size); });
}

bool has_log(const std::string& file) {
  struct stat log;
  return stat((file + log_suffix).c_str(), &log) == 0 && log.st_size > 0;
}

}  // namespace

bool is_whole_file(int fd) {
  struct stat found;
  return fstat(fd, &found) == 0 && S_ISREG(found.st_mode);
}

DWORD write_new_file(const std::string& file, int content) {
  const Unique_Fd made(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, owner_reads_and_writes));
  if (!made) return code_of_errno(errno);
  if (copy(content, made.get()) && fsync(made.get()) == 0) return ERROR_SUCCESS;
  const DWORD code = code_of_errno(errno);
  unlink(file.c_str());
  return code;
}

DWORD replace_file(const std::string& file, int content) {
  const std::string fresh = file + ".new." + std::to_string(getpid());
  const DWORD code = write_new_file(fresh, content);
  if (code != ERROR_SUCCESS) return code;
  if (rename(fresh.c_str(), file.c_str()) == 0) return ERROR_SUCCESS;
  const int error = errno;
  unlink(fresh.c_str());
  return code_of_errno(error);
}

DWORD make_backup_folder(const std::string& folder) {
  if (mkdir(folder.c_str(), owner_may_all) == 0) return ERROR_SUCCESS;
  const int error = errno;
  struct stat found;
  if (error != EEXIST) return code_of_errno(error);
  return stat(folder.c_str(), &found) == 0 && S_ISDIR(found.st_mode) ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS;
}

DWORD read_hive_file(const std::string& file, Unique_Fd* out) {
  const Unique_Fd source(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat found;
  if (!source || fstat(source.get(), &found) != 0) return code_of_errno(errno);
  if (!S_ISREG(found.st_mode)) return ERROR_NOT_REGISTRY_FILE;
  if (has_log(file)) return ERROR_BUSY;
  Unique_Fd memory(memfd_create("registry-hive", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  const bool is_copied = memory && copy(source.get(), memory.get()) && fcntl(memory.get(), F_ADD_SEALS, all_seals) == 0;
  if (!is_copied) return code_of_errno(errno);
  *out = std::move(memory);
  return ERROR_SUCCESS;
}

bool read_all(int content, std::vector<BYTE>* out) {
  return for_each_piece(content, [out](const char* data, std::size_t size) {
    if (out->size() + size > INT_MAX) return false;
    out->insert(out->end(), data, data + size);
    return true;
  });
}

}  // namespace impl::client
