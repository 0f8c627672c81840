// What the latest commits to a hive have changed, told from process to process: a ring of entries in memory that all
// of them share. An entry is a fact about two states of the hive, each named by the whole head of the log's index:
// the one commit that led from the first to the second changed these keys and no others. The first state was copied
// and the commit made within one and the same write transaction, and the fact is told only once the commit is known
// to have led to the second. It never becomes untrue, whoever commits what afterwards; so a reader may believe any
// entry that is whole, and needs no order among those who tell.
//
// The memory, in words of 64 bits as the machine has them:
//
//   ring    = head entry*256
//   head    = magic form zero*62
//   entry   = check announced before[6] after[6] count key[49]
//   check     over the entry from `before` to its last key; 0: being written
//   announced tells that somebody is about to commit to the state before, and will tell of it: a hint
//
// The entry of a commit stands at the place that the number of changes in its first state gives. Whatever else is
// found there, an older entry, half of one or noise, tells nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hive/cache/index_map.h"

namespace hive {

struct Told_Commit {
  Index_Head after;
  std::vector<std::int64_t> keys;
};

class Commit_Ring {
 public:
  static constexpr std::size_t entries = 256;
  static constexpr std::size_t words_of_entry = 64;
  static constexpr std::size_t words = (1 + entries) * words_of_entry;
  static constexpr std::size_t size = words * sizeof(std::uint64_t);  // in bytes
  static constexpr std::size_t most_keys = words_of_entry - 3 - 2 * Index_Head::words;

  static constexpr std::size_t words_of_head = 2;
  static constexpr std::uint64_t magic = 0x3120676E6972766Bu;
  static constexpr std::uint64_t form = (std::uint64_t{entries} << 32) | words_of_entry;

  // All of the memory is the ring's; to be read only, when nothing is told.
  explicit Commit_Ring(std::uint64_t* memory) : memory_(memory) {}

  // Before a commit that will be told of.
  void announce(const Index_Head& before);
  // It will not be told of after all.
  void withdraw(const Index_Head& before);
  // most_keys at most.
  void tell(const Index_Head& before, const Index_Head& after, const std::vector<std::int64_t>& keys);

  // Whether the ring leads from one state to another.
  enum class Way {
    known,    // by commits that changed the keys given, in any order and maybe twice
    soon,     // somebody has announced to tell of the next commit
    unknown,  // somebody has committed and did not tell, or it is too long ago
  };
  Way between(const Index_Head& from, const Index_Head& to, std::vector<std::int64_t>* out_keys) const;

 private:
  std::uint64_t* entry_of(const Index_Head& before) const;
  bool find(const Index_Head& before, Told_Commit* out) const;
  bool is_announced(const Index_Head& before) const;

  std::uint64_t* memory_;
};

}  // namespace hive
