#include "hive/store/unclean_end.h"

#include <fcntl.h>
#include <unistd.h>

#include "hive/store/rows.h"
#include "hive/store/system_calls.h"

namespace hive {
namespace {

constexpr std::string_view nothing_found = "ok";

int open_note(const std::string& hive_file, int flags) {
  return above_standard(open((hive_file + "-queue").c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
}

// What SQLite says of the file's structure, at the first fault; empty when nothing.
std::string fault_of_structure(Connection& connection) {
  Rows rows(connection, "PRAGMA quick_check(1)");
  if (!rows.next()) return text_of(connection.failure());
  return rows.text(0) == nothing_found ? std::string() : one_line(rows.text(0));
}

}  // namespace

Unclean_End::File_State Unclean_End::file_state(const std::string& file) {
  struct stat found;
  if (stat(file.c_str(), &found) != 0) return {};
  return {found.st_ino, found.st_size, found.st_mtim.tv_sec, found.st_mtim.tv_nsec};
}

Unclean_End::Hive_State Unclean_End::state_of(const std::string& hive_file) {
  return {file_state(hive_file), file_state(hive_file + "-wal")};
}

bool Unclean_End::is_as_noted(const std::string& hive_file) {
  Hive_State noted;
  int fd = open_note(hive_file, O_RDONLY);
  if (fd < 0) return false;
  bool is_whole = pread(fd, &noted, sizeof noted, 0) == static_cast<ssize_t>(sizeof noted);
  close(fd);
  return is_whole && noted == state_of(hive_file);
}

void Unclean_End::note_orderly_end(const std::string& hive_file) const {
  if (is_due_) return;
  int fd = open_note(hive_file, O_WRONLY);
  if (fd < 0) return;
  const Hive_State state = state_of(hive_file);
  // Without the note the next opener looks the hive through, which does no harm.
  [[maybe_unused]] ssize_t written = pwrite(fd, &state, sizeof state, 0);
  close(fd);
}

void Unclean_End::opened(const std::string& hive_file, bool log_taken_over) {
  if (log_taken_over && !is_as_noted(hive_file)) is_due_ = true;
}

Status Unclean_End::check(Connection& connection, const std::string& hive_file, std::string* reason) {
  if (!is_due_) return Status::ok;
  const Hive_State now = state_of(hive_file);
  if (damage_.empty() || !(now == damaged_)) {
    damage_ = fault_of_structure(connection);
    damaged_ = now;
  }
  is_due_ = !damage_.empty();
  if (!is_due_) return connection.status();
  *reason = damage_;
  return connection.failed_or(Status::damaged);
}

}  // namespace hive
