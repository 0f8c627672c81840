#include "hive/backup.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace hive {
namespace {

constexpr mode_t folder_mode = 0700;
constexpr mode_t file_mode = 0600;

// A file that is removed again unless it got its final name.
class Unfinished_File {
 public:
  explicit Unfinished_File(std::string name) : name_(std::move(name)) {}
  ~Unfinished_File() {
    if (fd_ < 0) return;
    ::close(fd_);
    if (done_) return;
    unlink(name_.c_str());
    unlink((name_ + "-journal").c_str());
  }
  Unfinished_File(const Unfinished_File&) = delete;
  Unfinished_File& operator=(const Unfinished_File&) = delete;

  const std::string& name() const { return name_; }

  Status make() {
    fd_ = above_standard(open(name_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, file_mode));
    return fd_ < 0 ? status_of_errno(errno) : Status::ok;
  }
  Status empty() { return ftruncate(fd_, 0) == 0 ? Status::ok : status_of_errno(errno); }
  Status become(const std::string& final_name) {
    if (fsync(fd_) != 0 || rename(name_.c_str(), final_name.c_str()) != 0) return status_of_errno(errno);
    done_ = true;
    return Status::ok;
  }

 private:
  std::string name_;
  int fd_ = -1;
  bool done_ = false;
};

// SQLite copies into an empty file what one moment of the database is.
Status copy_into(Connection& connection, const std::string& file) {
  sqlite3_stmt* statement = nullptr;
  int code = sqlite3_prepare_v2(connection.handle(), "VACUUM INTO ?1", -1, &statement, nullptr);
  if (code == SQLITE_OK) {
    sqlite3_bind_text(statement, 1, file.c_str(), -1, SQLITE_STATIC);
    sqlite3_step(statement);
    code = sqlite3_finalize(statement);
  }
  if (code != SQLITE_OK) connection.note(code);
  return connection.status();
}

}  // namespace

Status make_backup_folder(const std::string& path) {
  struct stat folder;
  if (mkdir(path.c_str(), folder_mode) == 0) return Status::ok;
  int error = errno;
  if (error != EEXIST) return status_of_errno(error);
  return stat(path.c_str(), &folder) == 0 && S_ISDIR(folder.st_mode) ? Status::ok : Status::exists;
}

Status back_up(Hive& hive, const std::string& folder, const char* name) {
  std::string final_name = folder + "/" + name;
  Unfinished_File file(final_name + ".new." + std::to_string(getpid()));
  Status status = file.make();
  if (status != Status::ok) return status;
  status = hive.use([&](Connection& connection) {
    Status emptied = file.empty();
    return emptied == Status::ok ? copy_into(connection, file.name()) : emptied;
  });
  return status == Status::ok ? file.become(final_name) : status;
}

}  // namespace hive
