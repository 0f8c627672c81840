// How a Store gets its connection: what stands at the file is looked at first and never changed unless it is
// an empty file or a hive of ours.
#include <sys/stat.h>
#include <unistd.h>

#include <fcntl.h>

#include "hive/boot.h"
#include "hive/store/meta.h"
#include "hive/store/schema.h"
#include "hive/store/store.h"

namespace hive {
namespace {

std::string folder_of(const std::string& file) {
  std::size_t slash = file.rfind('/');
  return slash == 0 ? "/" : file.substr(0, slash);
}

// When a file was made, in nanoseconds: a new file may get the number of one that is gone. 0 where the file
// system does not tell.
std::int64_t birth_of(const std::string& file) {
  constexpr std::int64_t nanoseconds = 1000000000;
  struct statx found;
  if (statx(AT_FDCWD, file.c_str(), 0, STATX_BTIME, &found) != 0 || (found.stx_mask & STATX_BTIME) == 0) return 0;
  return found.stx_btime.tv_sec * nanoseconds + found.stx_btime.tv_nsec;
}

// Whether the path is where something is mounted; false where the system does not tell.
bool is_mounted_alone(const std::string& file) {
  struct statx found;
  return statx(AT_FDCWD, file.c_str(), 0, 0, &found) == 0 && (found.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

bool writable(const std::string& path) { return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0; }

}  // namespace

// A connection that is there and can be trusted; for writing one that may write.
Status Store::ready(Access access, const Hive_Traits& traits, Findings& findings) {
  if (connection_ != nullptr && !is_connection_good(findings)) close();
  if (connection_ != nullptr && access == Access::write && connection_->read_only()) close();
  if (connection_ == nullptr) {
    Status status = open(traits, findings);
    if (status != Status::ok) {
      if (connection_ != nullptr) connection_->leave_log_alone();
      close();
      return status;
    }
  } else if (!connection_->shows_volatile) {
    Status status = prepare_content(traits, findings);
    if (status != Status::ok) return status;
  }
  if (access != Access::write || !connection_->read_only()) return Status::ok;
  if (connection_->mode() == Connection::Mode::immutable) close();
  return Status::denied;
}

// Where nobody shares memory the folder may be one that others see later.
bool Store::is_connection_good(Findings& findings) const {
  if (findings.names == Names::known) return connection_->still_holds();
  if (!connection_->intact()) return false;
  if (connection_->mode() == Connection::Mode::shared) findings.names = Names::right;
  return true;
}

Status Store::open(const Hive_Traits& traits, Findings& findings) {
  if (!file_.empty()) return open_in_presence(traits, findings);
  Status status = Connection::open(file_, Connection::Mode::memory, &connection_, &findings.reason);
  if (status != Status::ok) return status;
  status = make_hive(*connection_, traits.root_mode);
  if (status == Status::ok) status = prepare_content(traits, findings);
  if (status == Status::ok) coherence_.opened(*connection_, file_, 0);
  return status;
}

Status Store::open_in_presence(const Hive_Traits& traits, Findings& findings) {
  if (traits.presence == nullptr) return open_file(traits, findings);
  Status status = traits.presence->enter(file_);
  if (status != Status::ok) {
    findings.reason = "another process is about to open it";
    return status;
  }
  return traits.presence->settle(open_file(traits, findings));
}

Status Store::open_file(const Hive_Traits& traits, Findings& findings) {
  took_log_over();
  if (is_mounted_alone(file_)) {
    findings.reason = "the file is mounted alone, and its log could lie elsewhere";
    return Status::not_a_hive;
  }
  File_Look look;
  Status status = look_at_file(file_, newest_version(traits.steps), &look, &findings.reason);
  if (status != Status::ok) return status;
  if (look.empty && hive_birth_ != 0 && birth_of(file_) == hive_birth_) {
    findings.reason = "its content is gone";
    return Status::damaged;
  }
  if (look.has_log && has_no_log() && !may_write()) {
    status = Connection::open(file_, Connection::Mode::immutable, &connection_, &findings.reason);
  } else {
    status = open_shared(look, traits, findings);
  }
  if (status != Status::ok) return status;
  // Replaced since its path was asked: the next attempt finds the other one.
  if (!is_own_file()) return Status::busy;
  status = prepare_content(traits, findings);
  if (status != Status::ok) return status;
  hive_birth_ = birth_of(file_);
  was_writable_ = was_writable_ || !connection_->read_only();
  Connection::Use use(*connection_);
  coherence_.opened(*connection_, file_, hive_birth_);
  return status;
}

Status Store::open_shared(const File_Look& look, const Hive_Traits& traits, Findings& findings) {
  Status status = Status::ok;
  if (look.has_log && !look.shares_memory) status = give_up_log(file_, &findings.reason);
  if (status != Status::ok) return status;
  status = Connection::open(file_, Connection::Mode::shared, &connection_, &findings.reason);
  if (status != Status::ok) return status;
  Connection::Use use(*connection_);
  // Who was killed while making it has left what is undone now, by our first look through SQLite.
  const bool empty = look.empty || (!look.has_log && is_empty(*connection_));
  if (connection_->status() != Status::ok) {
    findings.reason = text_of(connection_->failure());
    return connection_->status();
  }
  if (empty && connection_->read_only()) {
    findings.reason = "an empty file that may not be written";
    return Status::denied;
  }
  if (empty) status = make_hive(*connection_, traits.root_mode);
  // A log survives a power loss with less than a journal does.
  if (status == Status::ok && !look.shares_memory) status = connection_->run_text("PRAGMA synchronous = FULL");
  bool may_have_log = look.shares_memory && !connection_->read_only();
  if (status == Status::ok && !look.has_log && may_have_log) status = use_log(*connection_);
  if (status != Status::ok) findings.reason = text_of(connection_->failure());
  return status;
}

// Tables of an earlier version are brought up to date, volatile keys of an earlier run of the machine go, and a new
// hive gets what it starts with. Who may only read leaves the tables as they are and does not show such keys.
Status Store::prepare_content(const Hive_Traits& traits, Findings& findings) {
  Connection::Use use(*connection_);
  bool current = false;
  bool incomplete = false;
  std::uint32_t version = 0;
  const std::uint32_t newest = newest_version(traits.steps);
  Status status = in_transaction(*connection_, Access::read, [&](Connection& connection) {
    current = meta_text(connection, "boot") == boot_identity();
    version = stored_version(connection);
    Status seen = look_through(connection, version, newest, findings);
    if (seen != Status::ok) return seen;
    incomplete = traits.incomplete && traits.incomplete(connection);
    connection.identity = image_head(connection).self.identity;
    return connection.status();
  });
  connection_->shows_volatile = current || !connection_->read_only();
  bool lacking = !current || incomplete || version < newest;
  if (status == Status::ok && lacking && !connection_->read_only()) status = complete(traits, findings);
  if (status != Status::ok && findings.reason.empty()) findings.reason = text_of(connection_->failure());
  return status;
}

// Nothing of a hive is believed that is of a later version, or damaged after an unclean end.
Status Store::look_through(Connection& connection, std::uint32_t version, std::uint32_t newest, Findings& findings) {
  if (version > newest) {
    findings.reason = newer_version_text(newest);
    return Status::newer_version;
  }
  unclean_end_.opened(file_, took_log_over());
  return unclean_end_.check(connection, file_, &findings.reason);
}

Status Store::complete(const Hive_Traits& traits, Findings& findings) {
  return in_transaction(*connection_, Access::write, [&](Connection& connection) {
    Status status = bring_up_to_date(connection, traits.steps);
    if (status == Status::ok) status = remove_stale_keys(connection);
    if (status == Status::ok && traits.incomplete && traits.incomplete(connection)) {
      status = traits.fill(connection, findings);
    }
    return status;
  });
}

bool Store::may_write() const { return writable(file_) && (!has_no_log() || writable(folder_of(file_))); }

// No log, and none that a reader could open.
bool Store::has_no_log() const {
  struct stat log;
  struct stat index;
  if (stat((file_ + "-wal").c_str(), &log) != 0) return true;
  return log.st_size == 0 && stat((file_ + "-shm").c_str(), &index) != 0;
}

bool Store::is_own_file() const {
  const std::vector<Descriptor>& open = connection_->descriptors().list();
  return !open.empty() && open.front().file == identity_;
}

}  // namespace hive
