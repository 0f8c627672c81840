#include "hive/store/errors.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace hive {
namespace {

constexpr int primary_code_mask = 0xFF;

bool means_full(int error) { return error == ENOSPC || error == EDQUOT; }

bool means_forbidden(int error) { return error == EACCES || error == EPERM || error == EROFS; }

// What SQLite could not do with a file: the system's reason decides.
Status status_of_file_trouble(const Failure& failure) {
  if (failure.code == SQLITE_IOERR_NOMEM || failure.code == SQLITE_IOERR_SHMMAP) {
    return failure.system == ENOMEM ? Status::no_memory : Status::io_failed;
  }
  return failure.system == 0 ? Status::io_failed : status_of_errno(failure.system);
}

}  // namespace

Status status_of_errno(int error) {
  if (means_full(error)) return Status::disk_full;
  if (means_forbidden(error)) return Status::denied;
  if (error == EISDIR || error == ELOOP) return Status::not_a_hive;
  if (error == ENOMEM) return Status::no_memory;
  if (error == EEXIST) return Status::exists;
  return Status::io_failed;
}

Status status_of(const Failure& failure) {
  // The file was moved while it was open: opened anew, the next attempt finds what stands at its path.
  if (failure.code == SQLITE_READONLY_DBMOVED) return Status::busy;
  switch (failure.code & primary_code_mask) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return Status::ok;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
      return Status::busy;
    case SQLITE_FULL:
      return Status::disk_full;
    case SQLITE_CORRUPT:
    case SQLITE_FORMAT:
    case SQLITE_SCHEMA:
    case SQLITE_CONSTRAINT:
      return Status::damaged;
    case SQLITE_NOTADB:
      return Status::not_a_hive;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_AUTH:
      return Status::denied;
    case SQLITE_TOOBIG:
      return Status::too_large;
    case SQLITE_NOMEM:
      return Status::no_memory;
    default:
      return status_of_file_trouble(failure);
  }
}

std::string text_of(Status status) {
  switch (status) {
    case Status::denied:
      return "access is denied";
    case Status::busy:
      return "another process holds it";
    case Status::disk_full:
      return "the disk is full";
    case Status::damaged:
      return "the hive is damaged";
    case Status::not_a_hive:
      return "not a hive";
    case Status::newer_version:
      return "a hive of a newer version";
    case Status::exists:
      return "it exists already";
    case Status::no_memory:
      return "out of memory";
    case Status::io_failed:
      return "it cannot be read or written";
    default:
      return "the operation failed";
  }
}

std::string text_of_errno(int error) { return std::generic_category().message(error); }

std::string one_line(std::string_view message) {
  constexpr std::string_view heading = "*** in database main ***\n";
  if (message.substr(0, heading.size()) == heading) message.remove_prefix(heading.size());
  std::string line(message);
  std::replace(line.begin(), line.end(), '\n', ';');
  return line;
}

std::string text_of(const Failure& failure) {
  std::string text = sqlite3_errstr(failure.code);
  if (failure.system != 0) text += ", " + text_of_errno(failure.system);
  return text;
}

}  // namespace hive
