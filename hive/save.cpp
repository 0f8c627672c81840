#include "hive/save.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "hive/store/meta.h"
#include "hive/store/schema.h"
#include "hive/store/transaction.h"
#include "hive/tree_copy.h"

namespace hive {
namespace {

constexpr mode_t owner_reads_and_writes = 0600;
constexpr mode_t owner_may_all = 0700;

}  // namespace

New_Hive_File::~New_Hive_File() {
  if (!made_) return;
  unlink(file_.c_str());
  unlink((file_ + "-journal").c_str());
}

Status New_Hive_File::make() {
  int fd = above_standard(open(file_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, owner_reads_and_writes));
  if (fd < 0) return errno == ENOENT ? Status::not_found : status_of_errno(errno);
  close(fd);
  made_ = true;
  return Status::ok;
}

// Runs again when the source was busy: what an earlier attempt left is cleared away.
Status New_Hive_File::write_tree(Connection& source, std::int64_t key) {
  if (truncate(file_.c_str(), 0) != 0) return status_of_errno(errno);
  std::unique_ptr<Connection> target;
  std::string reason;
  Status status = Connection::open(file_, Connection::Mode::fresh, &target, &reason);
  if (status != Status::ok) return status;
  Connection::Use use(*target);
  status = make_hive(*target, owner_may_all);
  if (status == Status::ok) status = fill(*target, source, key);
  target.reset();
  return status;
}

Status New_Hive_File::fill(Connection& target, Connection& source, std::int64_t key) {
  return in_transaction(target, Access::write, [&](Connection&) {
    Tree_Writer writer(target, root_key);
    Status status = walk_tree(source, key, writer);
    return status == Status::ok ? set_meta(target, "fresh", 0) : status;
  });
}

Status New_Hive_File::keep() {
  int fd = above_standard(open(file_.c_str(), O_RDONLY | O_CLOEXEC));
  bool synchronised = fd >= 0 && fsync(fd) == 0;
  int error = errno;
  if (fd >= 0) close(fd);
  if (!synchronised) return status_of_errno(error);
  made_ = false;
  return Status::ok;
}

}  // namespace hive
