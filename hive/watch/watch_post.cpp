#include "hive/watch/watch_post.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "hive/hive.h"
#include "hive/watch/small_thread.h"
#include "hive/watch/watch_forks.h"

namespace hive {
namespace {

// How long a change may stay unseen when its writer was killed before it could tell.
constexpr std::chrono::milliseconds longest_sleep{1000};

// One of so many that no two watchers meet; 0 when the system has none to give.
std::int64_t random_id() {
  std::uint64_t bits = 0;
  if (getrandom(&bits, sizeof bits, 0) != static_cast<ssize_t>(sizeof bits)) return 0;
  return static_cast<std::int64_t>(bits >> 2) | 1;
}

bool may_write(const Hive& hive) {
  return hive.is_private() || faccessat(AT_FDCWD, hive.path().c_str(), W_OK, AT_EACCESS) == 0;
}

}  // namespace

// One thread enrols at a time; no mutex is held while it does.
class Watch_Post::Enrolment {
 public:
  explicit Enrolment(Watch_Post& post) : post_(post) {
    std::unique_lock lock(post_.mutex_);
    post_.enrolled_.wait(lock, [this] { return !post_.is_enrolling_; });
    post_.is_enrolling_ = true;
  }
  ~Enrolment() {
    {
      std::lock_guard lock(post_.mutex_);
      post_.is_enrolling_ = false;
    }
    post_.enrolled_.notify_one();
  }
  Enrolment(const Enrolment&) = delete;
  Enrolment& operator=(const Enrolment&) = delete;

 private:
  Watch_Post& post_;
};

// Keeps the post from leaving the hive while a call joins.
class Watch_Post::Joining {
 public:
  explicit Joining(Watch_Post& post) : post_(post) {
    std::lock_guard lock(post_.mutex_);
    post_.leave_parents_keys();
    ++post_.joining_;
  }
  ~Joining() {
    std::lock_guard lock(post_.mutex_);
    --post_.joining_;
    post_.leave_when_empty();
  }
  Joining(const Joining&) = delete;
  Joining& operator=(const Joining&) = delete;

 private:
  Watch_Post& post_;
};

Watch_Handle::~Watch_Handle() {
  if (post_ != nullptr) post_->end(key_);
}

Watch_Post::Watch_Post(const std::string& hive_file) : file_(hive_file) { guard_at_forks(this); }

Watch_Post::~Watch_Post() { forget_at_forks(this); }

// ---- calls

Status Watch_Post::watch(const std::shared_ptr<Hive>& hive, Watch_Handle& handle, std::int64_t key, Watch_Call call) {
  const Joining joining(*this);
  Status status = enroll(*hive);
  if (status != Status::ok) return status;
  const Watch_Target* target = call.target.get();
  tell_all(begin(handle, key, std::move(call)));
  status = look(*hive);
  if (status == Status::ok && !ensure_thread(hive)) status = Status::no_memory;
  if (status != Status::ok) cancel(handle, target);
  return status;
}

// The calls on what the handle was before, where a root that is a path has become another key.
Watch_Targets Watch_Post::begin(Watch_Handle& handle, std::int64_t key, Watch_Call call) {
  Watch_Targets left;
  std::lock_guard lock(mutex_);
  auto place = std::find(keys_.begin(), keys_.end(), handle.key_);
  if (place != keys_.end() && handle.key_->number() != key) {
    left = handle.key_->give_up();
    keys_.erase(place);
    place = keys_.end();
  }
  if (place == keys_.end()) {
    handle.key_ = std::make_shared<Watched_Key>(key);
    handle.post_ = shared_from_this();
    keys_.push_back(handle.key_);
  }
  handle.key_->add(std::move(call));
  return left;
}

void Watch_Post::cancel(Watch_Handle& handle, const Watch_Target* target) {
  std::lock_guard lock(mutex_);
  if (handle.key_ != nullptr) handle.key_->remove(target);
}

void Watch_Post::end(Watch_Handle& handle) {
  std::shared_ptr<Watched_Key> key;
  {
    std::lock_guard lock(mutex_);
    key = handle.key_;
  }
  if (key != nullptr) end(key);
}

void Watch_Post::end(const std::shared_ptr<Watched_Key>& key) {
  Watch_Targets left;
  {
    std::lock_guard lock(mutex_);
    leave_parents_keys();
    auto place = std::find(keys_.begin(), keys_.end(), key);
    if (place == keys_.end()) return;
    left = key->give_up();
    keys_.erase(place);
    leave_when_empty();
  }
  tell_all(left);
  file_.word()->ring();  // the thread may have nothing left to do
}

void Watch_Post::leave_when_empty() {
  if (!keys_.empty() || joining_ > 0) return;
  id_ = 0;
  file_.leave();
}

// ---- enrolling

bool Watch_Post::is_enrolled() {
  std::lock_guard lock(mutex_);
  return id_ != 0;
}

// Where the hive cannot be written the answer is ok all the same, and keys are compared.
Status Watch_Post::enroll(Hive& hive) {
  const Enrolment mine(*this);
  if (is_enrolled()) {
    file_.keep();
    return Status::ok;
  }
  return may_write(hive) ? enroll_anew(hive) : Status::ok;
}

Status Watch_Post::enroll_anew(Hive& hive) {
  const std::int64_t id = random_id();
  if (id == 0 || !file_.enter(id)) return Status::ok;
  tend_log(hive);
  const Status status = hive.write_aside([id](Connection& connection) { return add_watcher(connection, id); });
  settle(status == Status::ok ? id : 0);
  const bool is_refused = status == Status::denied || status == Status::disk_full;
  return is_refused ? Status::ok : status;
}

// From now on the log is read, or not: nobody can tell what happened to keys in between.
void Watch_Post::settle(std::int64_t id) {
  std::lock_guard lock(mutex_);
  id_ = id;
  if (id == 0) {
    file_.leave();
    return;
  }
  for (const std::shared_ptr<Watched_Key>& key : keys_) key->lose_track();
}

// ---- the log

void Watch_Post::tell(Hive& hive, const Logged_Changes& logged) {
  if (!logged.any) return;
  file_.ring();
  if (logged.cut_is_due) tend_log(hive);
}

// Whether a watcher lives is asked outside of transactions. Its id is its own for ever: who is dead stays so.
void Watch_Post::tend_log(Hive& hive) {
  std::vector<std::int64_t> dead;
  hive.read([&](Connection& connection) {
    dead = watchers(connection);
    return connection.status();
  });
  std::erase_if(dead, [this](std::int64_t id) { return file_.is_alive(id); });
  hive.write_aside([&](Connection& connection) { return cut_change_log(connection, dead); });
}

// ---- the thread

bool Watch_Post::has_calls() const {
  return std::any_of(keys_.begin(), keys_.end(), [](const auto& key) { return key->has_calls(); });
}

bool Watch_Post::ensure_thread(const std::shared_ptr<Hive>& hive) {
  {
    std::lock_guard lock(mutex_);
    if (has_thread_ || !has_calls()) return true;
    has_thread_ = true;
  }
  std::weak_ptr<Hive> where = hive;
  if (start_small_thread("registry-watch", [self = shared_from_this(), where] { self->stand(where); })) return true;
  std::lock_guard lock(mutex_);
  has_thread_ = false;
  return false;
}

// What fails is tried again after the next sleep.
void Watch_Post::stand(const std::weak_ptr<Hive>& hive) {
  do {
    file_.keep();
    const std::shared_ptr<Watch_Word> word = file_.word();
    const std::uint32_t seen = word->value();
    if (const std::shared_ptr<Hive> held = hive.lock()) {
      try {
        look(*held);
      } catch (const std::bad_alloc&) {
      }
    }
    if (!goes_on()) return;
    word->sleep(seen, longest_sleep);
  } while (true);
}

bool Watch_Post::goes_on() {
  std::lock_guard lock(mutex_);
  has_thread_ = has_calls();
  return has_thread_;
}

// ---- forks

void Watch_Post::before_fork() {
  mutex_.lock();
  file_.before_fork();
}

void Watch_Post::after_fork_in_parent() {
  file_.after_fork_in_parent();
  mutex_.unlock();
}

// The threads that wait, enrol and watch are not here.
void Watch_Post::after_fork_in_child() {
  file_.after_fork_in_child();
  keys_are_parents_ = true;
  id_ = 0;
  joining_ = 0;
  has_thread_ = false;
  is_enrolling_ = false;
  new (&enrolled_) std::condition_variable;
  mutex_.unlock();
}

// What waits in the parent is told there alone. It is kept for ever: its end would touch the parent's objects.
void Watch_Post::leave_parents_keys() {
  static std::vector<Keys>& left = *new std::vector<Keys>;
  if (!std::exchange(keys_are_parents_, false) || keys_.empty()) return;
  left.push_back(std::exchange(keys_, {}));
}

}  // namespace hive
