#include "hive/foreign_hive.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "hive/store/fork.h"
#include "hive/store/meta.h"
#include "hive/store/schema.h"
#include "hive/store/store.h"
#include "hive/store/version.h"

namespace hive {
namespace {

constexpr mode_t owner_reads_and_writes = 0600;
constexpr const char* copy_name = "/hive";
constexpr const char* log_suffix = "-wal";
constexpr const char* index_suffix = "-shm";

// Bytes of a file; -1 when there is none.
off_t size_of(const std::string& file) {
  struct stat found;
  return stat(file.c_str(), &found) == 0 ? found.st_size : -1;
}

bool copy_bytes(int from, int to) {
  constexpr std::size_t at_once = 1 << 20;
  ssize_t copied = 0;
  do {
    copied = sendfile(to, from, nullptr, at_once);
  } while (copied > 0 || (copied < 0 && errno == EINTR));
  return copied == 0;
}

Status copy_file(const std::string& from, const std::string& to) {
  int source = above_standard(open(from.c_str(), O_RDONLY | O_CLOEXEC));
  if (source < 0) return status_of_errno(errno);
  int target = above_standard(open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, owner_reads_and_writes));
  bool copied = target >= 0 && copy_bytes(source, target);
  int error = errno;
  if (target >= 0) close(target);
  close(source);
  return copied ? Status::ok : status_of_errno(error);
}

std::string temporary_folder() {
  const char* named = secure_getenv("TMPDIR");
  std::string pattern = std::string(named != nullptr && *named != '\0' ? named : "/tmp") + "/kvhive.XXXXXX";
  return mkdtemp(pattern.data()) == nullptr ? std::string() : pattern;
}

bool is_used_here(const struct stat& file) {
  for (const Store* store : Store::all()) {
    if (store->is_used() && store->identity() == File_Identity{file.st_dev, file.st_ino}) return true;
  }
  return false;
}

}  // namespace

Foreign_Hive::~Foreign_Hive() {
  if (copy_folder_.empty()) return;
  for (const char* suffix : {"", log_suffix, index_suffix}) unlink((copy_folder_ + copy_name + suffix).c_str());
  rmdir(copy_folder_.c_str());
}

// Closing a descriptor of a file drops the locks that SQLite has on it, and copying closes some: nobody here may
// begin to use the file meanwhile.
Status Foreign_Hive::find(const std::string& file) {
  std::lock_guard lock(opening_mutex());
  struct stat found;
  if (stat(file.c_str(), &found) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? Status::not_found : status_of_errno(errno);
  }
  if (!S_ISREG(found.st_mode)) return Status::not_a_hive;
  return is_used_here(found) ? Status::busy : look(file);
}

Status Foreign_Hive::look(const std::string& file) {
  File_Look look;
  std::string reason;
  Status status = look_at_file(file, newest_version(), &look, &reason);
  if (status == Status::ok && look.empty) status = Status::not_a_hive;
  if (status != Status::ok) return status;
  file_ = file;
  if (!look.has_log) return Status::ok;
  off_t log = size_of(file + log_suffix);
  bool has_index = size_of(file + index_suffix) >= 0;
  if (log > 0 && !has_index) return copy(file);
  if (log < 0 || !has_index) mode_ = Connection::Mode::immutable;
  return Status::ok;
}

Status Foreign_Hive::copy(const std::string& file) {
  copy_folder_ = temporary_folder();
  if (copy_folder_.empty()) return status_of_errno(errno);
  file_ = copy_folder_ + copy_name;
  mode_ = Connection::Mode::shared;
  Status status = copy_file(file, file_);
  return status == Status::ok ? copy_file(file + log_suffix, file_ + log_suffix) : status;
}

Status Foreign_Hive::read(Transaction_Body body, std::string* reason) {
  std::unique_ptr<Connection> connection;
  Status status = Connection::open(file_, mode_, &connection, reason);
  if (status != Status::ok) return status;
  Connection::Use use(*connection);
  connection->leave_log_alone();
  status = in_transaction(*connection, Access::read, [&](Connection& hive) {
    if (stored_version(hive) > newest_version()) return hive.failed_or(Status::newer_version);
    if (meta_number(hive, "fresh") != 0) {
      *reason = "it was begun and never finished";
      return hive.failed_or(Status::damaged);
    }
    return hive.failed_or(body(hive));
  });
  const Failure failure = connection->failure();
  if (failure.code != 0) *reason = text_of(failure);
  // What a writer that was killed left beside a file without a log: it was never finished.
  return failure.code == SQLITE_READONLY_ROLLBACK ? Status::damaged : status;
}

}  // namespace hive
