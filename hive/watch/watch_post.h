// From where a process watches the keys of one hive. It stands from the first call on a handle until the last such
// handle is closed, and has a thread only while a call is waiting.
//
// Who may write the hive enrols as a watcher in it, so that writers log their changes, and reads the log. Who may not
// compares the keys with what they were, once a second. Either way a look gives nothing away: a call on a handle that
// was watched before is told at once what has changed since.
//
// No mutex of this class is held while a hive is used, or a target is told. A forked child watches nothing.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "hive/status.h"
#include "hive/store/connection.h"
#include "hive/watch/watch_file.h"
#include "hive/watch/watched_key.h"

namespace hive {

class Hive;
class Watch_Post;

// The part of an open key that is watched; its end tells every call that waits.
class Watch_Handle {
 public:
  Watch_Handle() = default;
  ~Watch_Handle();
  Watch_Handle(const Watch_Handle&) = delete;
  Watch_Handle& operator=(const Watch_Handle&) = delete;

 private:
  friend class Watch_Post;

  std::shared_ptr<Watch_Post> post_;
  std::shared_ptr<Watched_Key> key_;
};

class Watch_Post : public std::enable_shared_from_this<Watch_Post> {
 public:
  // Empty: of a private hive.
  explicit Watch_Post(const std::string& hive_file);
  ~Watch_Post();
  Watch_Post(const Watch_Post&) = delete;
  Watch_Post& operator=(const Watch_Post&) = delete;

  // One call for a key that is there. ok: its target will be told once, or was told already.
  Status watch(const std::shared_ptr<Hive>& hive, Watch_Handle& handle, std::int64_t key, Watch_Call call);
  // Takes a call back; its target is not told any more, unless that happens at this moment.
  void cancel(Watch_Handle& handle, const Watch_Target* target);
  // The handle is closed: every call on it is told.
  void end(Watch_Handle& handle);
  // After a transaction of this process that was kept.
  void tell(Hive& hive, const Logged_Changes& logged);

  // Around a fork.
  void before_fork();
  void after_fork_in_parent();
  void after_fork_in_child();

 private:
  friend class Watch_Handle;
  using Keys = std::vector<std::shared_ptr<Watched_Key>>;
  struct Look;
  class Enrolment;
  class Joining;

  Status enroll(Hive& hive);
  Status enroll_anew(Hive& hive);
  bool is_enrolled();
  void settle(std::int64_t id);
  void settle_lost();
  Watch_Targets begin(Watch_Handle& handle, std::int64_t key, Watch_Call call);
  void end(const std::shared_ptr<Watched_Key>& key);
  void leave_when_empty();
  void leave_parents_keys();

  Status look(Hive& hive);
  void prepare(Look& look);
  Status read(Connection& connection, Look& look);
  Status compare(Connection& connection, Look& look);
  void take(Look& look);
  void take_log(Look& look);
  void catch_up(Hive& hive, const Look& look);
  void tend_log(Hive& hive);

  bool has_calls() const;
  bool ensure_thread(const std::shared_ptr<Hive>& hive);
  void stand(const std::weak_ptr<Hive>& hive);
  bool goes_on();

  std::mutex mutex_;
  Keys keys_;
  bool keys_are_parents_ = false;  // left by a fork
  std::int64_t id_ = 0;            // of the watcher enrolled in the hive; 0: compares
  int joining_ = 0;                // calls that are about to add a key
  bool has_thread_ = false;
  bool is_enrolling_ = false;
  std::condition_variable enrolled_;
  std::uint64_t order_ = 0;  // of the last look into the log that was taken
  Watch_File file_;
};

}  // namespace hive
