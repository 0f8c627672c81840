// Where an enumeration stands: what was answered last, at which index. Kept as a name, so that what is deleted
// or made meanwhile moves nothing; beside it what makes going on cheap while the key stays as it is.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "hive/cache/node.h"

namespace hive {

// Held for moments, by one thread at a time; a child of fork finds it free, whoever held it in the parent.
class Position_Lock {
 public:
  void lock();
  void unlock() { holder_.store(0, std::memory_order_release); }

  // In the child.
  static void after_fork();

 private:
  std::atomic<unsigned> holder_{0};  // 0, or which generation of forks the holder is of
};

struct Position {
  Position_Lock lock;
  bool is_set = false;
  std::uint32_t index = 0;
  std::u16string folded;

  // In the state of the key with this seq the name stands at this place of its list, or of a part of its list.
  std::int64_t seq = 0;
  std::size_t place = 0;
  std::shared_ptr<const Child_Names> part;  // of a list that is too long to be kept
  std::uint32_t part_size = 0;              // how long the last one was

  // The name was answered at this index.
  void set(std::uint32_t at_index, std::u16string_view folded_name, std::int64_t of_seq, std::size_t at_place);
};

}  // namespace hive
