#include "hive/watch/watched_key.h"

#include <algorithm>
#include <utility>

namespace hive {

void tell_all(const Watch_Targets& targets) {
  for (const std::shared_ptr<Watch_Target>& target : targets) target->signal();
}

void Watched_Key::add(Watch_Call call) {
  subtree_ |= call.subtree;
  calls_.push_back(std::move(call));
}

void Watched_Key::remove(const Watch_Target* target) {
  std::erase_if(calls_, [target](const Watch_Call& call) { return call.target.get() == target; });
}

void Watched_Key::take(const Log_Part& part) {
  if (part.newest < seen_ || part.oldest > seen_ + 1) {
    of_key_ = below_ = all_ways;  // cut while nobody here was reading, or another log
  }
  for (const Change& change : part.changes) {
    if (change.number <= seen_ || change.keys.empty()) continue;
    const bool is_key = change.keys.front() == number_;
    if (is_key && (change.ways & way_removed) != 0) is_gone_ = true;
    if (is_key) {
      of_key_ |= change.ways & all_ways;
    } else if (std::find(change.keys.begin(), change.keys.end(), number_) != change.keys.end()) {
      below_ |= change.ways & all_ways;
    }
  }
  seen_ = part.newest;
}

void Watched_Key::take(Snapshot now, std::uint64_t order, const Read_State& state) {
  if (is_compared_ && order < order_) return;
  if (!now.is_there()) is_gone_ = true;
  if (is_compared_) {
    of_key_ |= now.changes_of_key(snapshot_);
    below_ |= now.changes_below(snapshot_);
  }
  snapshot_ = std::move(now);
  order_ = order;
  compared_at_ = state;
  is_compared_ = true;
}

void Watched_Key::lose_track() {
  of_key_ = below_ = all_ways;
  seen_ = unknown;
  is_compared_ = false;
}

Watch_Targets Watched_Key::give_up() {
  Watch_Targets targets;
  for (Watch_Call& call : std::exchange(calls_, {})) targets.push_back(std::move(call.target));
  return targets;
}

bool Watched_Key::is_met(const Watch_Call& call) const {
  const Ways changed = call.subtree ? of_key_ | below_ : of_key_;
  return is_gone_ || (changed & call.filter) != 0;
}

void Watched_Key::collect(Watch_Targets& out) {
  Ways told_of_key = 0;
  Ways told_below = 0;
  std::erase_if(calls_, [&](Watch_Call& call) {
    if (!is_met(call)) return false;
    told_of_key |= call.filter;
    if (call.subtree) told_below |= call.filter;
    out.push_back(std::move(call.target));
    return true;
  });
  of_key_ &= ~told_of_key;
  below_ &= ~told_below;
}

}  // namespace hive
