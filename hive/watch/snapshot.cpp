#include "hive/watch/snapshot.h"

#include "hive/keys.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

// Spreads a number over all bits, so that sums of several tell sets apart.
std::uint64_t mixed(std::int64_t number) {
  auto bits = static_cast<std::uint64_t>(number) + 0x9E3779B97F4A7C15;
  bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9;
  bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EB;
  return bits ^ (bits >> 31);
}

std::uint64_t rights_in(Statement& row, int column) {
  std::uint64_t rights = 0;
  for (int i = 0; i < 3; ++i) rights = mixed(static_cast<std::int64_t>(rights) + row.number(column + i));
  return rights;
}

}  // namespace

Snapshot Snapshot::of(Connection& connection, std::int64_t key, Extent extent) {
  Snapshot taken;
  taken.extent_ = extent;
  taken.hive_ = connection.identity;
  taken.is_there_ = check_key(connection, key) == Status::ok;
  if (!taken.is_there_ || extent == Extent::existence) return taken;
  Statement state(connection, Query::key_state);
  if (state.bind(1, key).row()) taken.key_ = {state.number(0), 0, rights_in(state, 1)};
  Statement children(connection, Query::child_numbers);
  children.bind(1, key);
  while (children.row()) taken.key_.children += mixed(children.number(0));
  if (extent != Extent::tree) return taken;
  Statement below(connection, Query::states_below);
  below.bind(1, key);
  while (below.row()) {
    State& each = taken.below_[below.number(0)];
    each.seq = below.number(2);
    each.rights = rights_in(below, 3);
    taken.below_[below.number(1)].children += mixed(below.number(0));
  }
  taken.below_.erase(key);
  return taken;
}

Ways Snapshot::difference(const State& before, const State& now) {
  if (now.seq == before.seq) return 0;
  Ways ways = way_last_set;
  if (now.children != before.children) ways |= way_name;
  if (now.rights != before.rights) ways |= way_attributes | way_security;
  return ways;
}

Ways Snapshot::changes_of_key(const Snapshot& before) const {
  if (hive_ != before.hive_) return all_ways;
  const bool can_tell = extent_ != Extent::existence && before.extent_ != Extent::existence;
  return can_tell ? difference(before.key_, key_) : 0;
}

Ways Snapshot::changes_below(const Snapshot& before) const {
  if (extent_ != Extent::tree || before.extent_ != Extent::tree) return 0;
  Ways ways = 0;
  for (const auto& [key, now] : below_) {
    auto known = before.below_.find(key);
    ways |= difference(known == before.below_.end() ? State{} : known->second, now);
  }
  return ways;
}

}  // namespace hive
