#include "hive/hive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <utility>

#include "hive/batch.h"
#include "hive/store/fork.h"
#include "hive/store/meta.h"

namespace hive {
namespace {

constexpr mode_t folder_mode = 0700;
constexpr mode_t permission_bits = 0777;

int say(Access access) { return access == Access::read ? 0 : 1; }

std::string real_path(const std::string& path) {
  char* real = realpath(path.c_str(), nullptr);
  std::string result = real == nullptr ? path : real;
  free(real);
  return result;
}

// The folders above a file, as far as they are missing. errno of the first that cannot be made, else 0.
int make_folders(const std::string& file) {
  int failed = 0;
  for (std::size_t slash = file.find('/', 1); slash != std::string::npos; slash = file.find('/', slash + 1)) {
    bool stands = mkdir(file.substr(0, slash).c_str(), folder_mode) == 0 || errno == EEXIST;
    if (!stands && failed == 0) failed = errno;
  }
  return failed;
}

}  // namespace

Hive::Hive(std::string path, Hive_Traits traits, Complain complain)
    : path_(std::move(path)),
      traits_(std::move(traits)),
      complain_(complain),
      watch_post_(std::make_shared<Watch_Post>(path_)) {
  if (!is_private()) return;
  std::lock_guard lock(opening_mutex());
  store_ = Store::attach_private();
}

Hive::~Hive() {
  if (Store* store = store_) store->detach();
}

Status Hive::write(Transaction_Body body) {
  has_written_.store(true, std::memory_order_relaxed);
  if (!traits_.counts_changes) return write_aside(body);
  return write_aside([&](Connection& connection) {
    connection.mark_changes();
    Status status = body(connection);
    return status == Status::ok && connection.changed_since_mark() ? count_change(connection) : status;
  });
}

void Hive::note_orderly_end() {
  std::unique_lock lock(opening_mutex());
  Store* store = store_;
  lock.unlock();
  if (store != nullptr && !is_private()) store->note_orderly_end();
}

// What a hive holds that has nothing of the thread's batch is read as ever.
Status Hive::run(Access access, Transaction_Body body) {
  Batch* batch = access == Access::bare ? nullptr : Batch::of_thread();
  if (batch == nullptr) return run_alone(access, body);
  batch->look_at_clock();
  const bool is_change = access == Access::write;
  if (batch->is_lost()) return is_change ? Status::batch_lost : run_alone(access, body);
  if (!is_change && batch->store_of(*this) == nullptr) return run_alone(access, body);
  const Status status = run_in(*batch, access, body);
  if (batch->is_lost()) batch->lose();
  return status == Status::batch_lost && !is_change ? run_alone(access, body) : status;
}

Status Hive::run_in(Batch& batch, Access access, Transaction_Body body) {
  Findings findings;
  Store* store = batch.store_of(*this);
  Status status = store == nullptr ? join(batch, &store, findings) : Status::ok;
  if (status == Status::ok) status = store->run_within(batch.part_of(store), body, findings);
  tell(access, status, findings);
  return status;
}

Status Hive::join(Batch& batch, Store** out, Findings& findings) {
  Back_Off back_off;
  Status status;
  do {
    findings.reason.clear();
    status = try_to_join(batch, back_off, out, findings);
  } while (status == Status::busy && back_off.pause());
  return status;
}

Status Hive::try_to_join(Batch& batch, Back_Off& back_off, Store** out, Findings& findings) {
  Status status = find_store(out, findings);
  if (status != Status::ok) return status;
  std::shared_ptr<Batch_Part> part = batch.part_of(*out);
  if (part == nullptr) {
    auto turn = std::make_unique<Writer_Queue::Turn>((*out)->queue(), back_off, Writer_Queue::Turn::of_batch);
    status = (*out)->join(std::move(turn), traits_, &part, findings);
  }
  if (status == Status::ok) batch.add(shared_from_this(), *out, std::move(part));
  return status;
}

Status Hive::keep(Store& store, const std::shared_ptr<Batch_Part>& part) {
  Back_Off back_off;
  Findings findings;
  Status status;
  do {
    findings.reason.clear();
    status = store.commit(part, findings);
  } while (status == Status::busy && back_off.pause());
  tell(Access::write, status, findings);
  if (status == Status::ok) watch_post_->tell(*this, findings.logged);
  return status;
}

Status Hive::run_alone(Access access, Transaction_Body body) {
  Back_Off back_off;
  Findings findings;
  Status status;
  do {
    findings.reason.clear();
    status = attempt(access, body, back_off, findings);
  } while (status == Status::busy && back_off.pause());
  tell(access, status, findings);
  if (status == Status::ok) watch_post_->tell(*this, findings.logged);
  return status;
}

Status Hive::attempt(Access access, Transaction_Body body, Back_Off& back_off, Findings& findings) {
  Store* store = nullptr;
  Folder_Look look;
  findings.names = knows_names(&look, &store) ? Names::known : Names::to_be_asked;
  if (store == nullptr) {
    const Status found = find_store(&store, findings);
    if (found != Status::ok) return found;
  }
  std::optional<Writer_Queue::Turn> turn;
  if (access == Access::write) turn.emplace(store->queue(), back_off, Writer_Queue::Turn::of_operation);
  const Status status = store->run(access, traits_, body, findings);
  if (findings.names == Names::right) remember_names(look, store);
  return status;
}

// Whether the store's files are still found by their names, as far as the folder tells it.
bool Hive::knows_names(Folder_Look* out_look, Store** out) {
  std::lock_guard lock(opening_mutex());
  if (folder_.is_none()) return false;
  *out_look = folder_.look();
  const bool known = out_look->is_settled && *out_look == right_names_;
  if (known) *out = store_;
  return known;
}

// The folder was looked at before its names.
void Hive::remember_names(const Folder_Look& look, const Store* store) {
  std::lock_guard lock(opening_mutex());
  if (look.is_settled && store_ == store) right_names_ = look;
}

Status Hive::find_store(Store** out, Findings& findings) {
  if (is_private()) {
    *out = store_;
    return Status::ok;
  }
  struct stat file;
  Status status = find_file(&file, &findings.reason);
  if (status != Status::ok) return status;
  File_Identity identity{file.st_dev, file.st_ino};
  Store* former = nullptr;
  {
    std::lock_guard lock(opening_mutex());
    *out = store_;
    if (*out == nullptr || !((*out)->identity() == identity)) {
      former = *out;
      said_of_damage_.clear();
      const std::string file_name = real_path(path_);
      *out = Store::attach(identity, file_name, file.st_mode & permission_bits);
      store_ = *out;
      folder_.move_to(file_name == path_ ? path_.substr(0, path_.rfind('/')) : "");
      right_names_ = {};
    }
  }
  if (former != nullptr) former->detach();
  return Status::ok;
}

// What stands at the path, made when nothing does.
Status Hive::find_file(struct stat* out, std::string* reason) {
  int asked = stat(path_.c_str(), out);
  if (asked != 0 && errno == ENOENT) {
    Status status = make_file(reason);
    if (status != Status::ok) return status;
    asked = stat(path_.c_str(), out);
  }
  if (asked != 0) {
    int error = errno;
    *reason = text_of_errno(error);
    return status_of_errno(error);
  }
  if (!S_ISREG(out->st_mode)) {
    *reason = S_ISDIR(out->st_mode) ? "it is a folder" : "it is no file";
    return Status::not_a_hive;
  }
  if (out->st_nlink != 1) {
    *reason = "the file has more than one name, and its log could lie beside another";
    return Status::not_a_hive;
  }
  return Status::ok;
}

// An empty file: the first opener makes a hive of it. Nobody else here opens it before its descriptor is closed,
// which would take that opener's locks away.
Status Hive::make_file(std::string* reason) {
  std::lock_guard lock(opening_mutex());
  int no_folder = make_folders(path_);
  int fd = above_standard(open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, traits_.file_mode));
  if (fd < 0) {
    int error = errno;
    if (error == EEXIST) return Status::ok;
    if (error == ENOENT && no_folder != 0) error = no_folder;
    *reason = text_of_errno(error);
    return status_of_errno(error);
  }
  bool as_wanted = fchmod(fd, traits_.file_mode) == 0;
  int error = errno;
  close(fd);
  if (as_wanted) return Status::ok;
  *reason = text_of_errno(error);
  return status_of_errno(error);
}

void Hive::tell(Access access, Status status, const Findings& findings) {
  if (findings.reason.empty() && findings.lines.empty() && silent_) return;
  std::string line = line_to_say(access, status, findings.reason);
  if (complain_ == nullptr) return;
  for (const std::string& finding : findings.lines) complain_(finding);
  if (!line.empty()) complain_(line);
}

// Once until the hive works again or the reason is another one. That reading works says nothing of writing.
std::string Hive::line_to_say(Access access, Status status, const std::string& reason) {
  std::lock_guard lock(opening_mutex());
  if (reason.empty()) {
    said_[say(Access::read)].clear();
    if (access == Access::write && status == Status::ok) said_[say(Access::write)].clear();
    silent_ = said_[say(Access::write)].empty();
    return {};
  }
  std::string line = (is_private() ? "private hive" : path_) + ": " + text_of(status) + " (" + reason + ")";
  if (status == Status::damaged && line == std::exchange(said_of_damage_, line)) return {};
  if (line == said_[0] || line == said_[1]) return {};
  said_[say(access)] = line;
  silent_ = false;
  return line;
}

}  // namespace hive
