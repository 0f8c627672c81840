// A key under watch through one handle, from its first call on: who waits for changes of it, and what has changed since
// somebody was last told. A plain value of whoever guards it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "hive/watch/change_log.h"
#include "hive/watch/snapshot.h"
#include "hive/watch/watch.h"

namespace hive {

// One call that waits.
struct Watch_Call {
  bool subtree = false;
  Ways filter = 0;
  std::shared_ptr<Watch_Target> target;
};

using Watch_Targets = std::vector<std::shared_ptr<Watch_Target>>;
void tell_all(const Watch_Targets& targets);

class Watched_Key {
 public:
  explicit Watched_Key(std::int64_t number) : number_(number) {}

  std::int64_t number() const { return number_; }
  bool has_calls() const { return !calls_.empty(); }
  void add(Watch_Call call);
  void remove(const Watch_Target* target);

  // The last change of the log that was taken; unknown before the first.
  static constexpr std::int64_t unknown = -1;
  std::int64_t seen() const { return seen_; }
  // Begins at the end of a log, or takes what it has that is new.
  void begin_at(std::int64_t newest) { seen_ = newest; }
  void take(const Log_Part& part);

  // What a look at the key must extend to, for who compares.
  Snapshot::Extent extent() const { return subtree_ ? Snapshot::Extent::tree : Snapshot::Extent::key; }
  bool needs_comparison() const { return !is_compared_ || snapshot_.extent() != extent(); }
  // Compares with the last one, if there is one; order tells which of two is later.
  void take(Snapshot now, std::uint64_t order, const Read_State& state);
  const Read_State& compared_at() const { return compared_at_; }

  // The key is gone: every call is told.
  void end() { is_gone_ = true; }
  // Nobody knows what has changed, so everything may have.
  void lose_track();
  // Everything since is forgotten, and so are the calls.
  Watch_Targets give_up();

  // Takes out the calls that are to be told.
  void collect(Watch_Targets& out);

 private:
  bool is_met(const Watch_Call& call) const;

  const std::int64_t number_;
  std::int64_t seen_ = unknown;
  Snapshot snapshot_;
  std::uint64_t order_ = 0;
  Read_State compared_at_;
  bool is_compared_ = false;
  bool subtree_ = false;  // some call asked for the keys below
  bool is_gone_ = false;
  Ways of_key_ = 0;
  Ways below_ = 0;
  std::vector<Watch_Call> calls_;
};

}  // namespace hive
