// What a key and the keys below it are at a moment, in a few numbers each: for who may not write into a hive and so
// reads no log of its changes. Between two of them stand the ways in which a key has changed. What was undone meanwhile
// is not seen as such; since a key's seq is new after every change, that something happened always is, and is told as a
// change of its values.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "hive/identity.h"
#include "hive/store/connection.h"
#include "hive/watch/watch.h"

namespace hive {

// Which state of a hive a connection has read: another one after each change by another connection.
struct Read_State {
  std::uint64_t connection = 0;
  std::uint32_t version = 0;

  bool operator==(const Read_State&) const = default;
};

class Snapshot {
 public:
  enum class Extent {
    existence,  // whether the key is there
    key,
    tree,
  };

  // In a transaction; failures are noted in the connection.
  static Snapshot of(Connection& connection, std::int64_t key, Extent extent);

  Extent extent() const { return extent_; }
  bool is_there() const { return is_there_; }
  // Compared to an earlier one. What one of the two does not extend to counts as unchanged.
  Ways changes_of_key(const Snapshot& before) const;
  Ways changes_below(const Snapshot& before) const;

 private:
  struct State {
    std::int64_t seq = 0;
    std::uint64_t children = 0;  // of the numbers of its sub-keys
    std::uint64_t rights = 0;
  };

  static Ways difference(const State& before, const State& now);

  Extent extent_ = Extent::existence;
  Hive_Identity hive_{};
  bool is_there_ = false;
  State key_;
  std::unordered_map<std::int64_t, State> below_;
};

}  // namespace hive
