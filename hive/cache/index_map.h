// The head of the index that SQLite keeps of a hive's log, as every process that has the hive open sees it: it
// changes with each commit.
//
// The head is 48 bytes: 0 version, 8 number of changes, 12 whether it is initialised, 16 number of frames in the
// log, 32 two salts of the log, 40 a checksum of it all; numbers are as the machine has them.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "hive/cache/read_section.h"
#include "hive/store/system_calls.h"

namespace hive {

class Index_Head {
 public:
  static constexpr std::size_t words = 6;

  Index_Head() = default;
  explicit Index_Head(const std::array<std::uint64_t, words>& in_order) : words_(in_order) {}

  const std::array<std::uint64_t, words>& words_in_order() const { return words_; }

  bool operator==(const Index_Head&) const = default;

  // Initialised, and of a log that is not empty: an index made of an empty log always looks the same.
  bool tells_states_apart() const { return (words_[1] >> 32 & 0xFF) != 0 && words_[4] != 0; }
  bool is_of_same_log(const Index_Head& other) const { return words_[4] == other.words_[4]; }
  std::uint32_t frames() const { return static_cast<std::uint32_t>(words_[2]); }
  // Counted by commits; begins anew when the index is made anew.
  std::uint32_t changes() const { return static_cast<std::uint32_t>(words_[1]); }
  bool is_of_an_empty_log() const { return words_[4] == 0; }

 private:
  friend class Index_Map;
  std::array<std::uint64_t, words> words_{};
};

// A reading map of an index. One for each file, kept as long as the file has a name: closing any descriptor of
// it would take SQLite's locks away from the process.
class Index_Map final : public Shared_Object {
 public:
  // The map of the index that a connection has open, for one more user; null when there is none.
  static Index_Map* of(const std::string& hive_file, const Descriptors& open);
  // One user less. The descriptor of a file that is gone, and that nobody uses any more, is closed: by then the
  // user's connection must be.
  static void let_go(Index_Map* map);
  ~Index_Map() override;

  Index_Head copy() const {
    Index_Head head;
    for (std::size_t i = 0; i < Index_Head::words; ++i) head.words_[i] = __atomic_load_n(head_ + i, __ATOMIC_ACQUIRE);
    return head;
  }
  bool shows(const Index_Head& head) const {
    for (std::size_t i = 0; i < Index_Head::words; ++i) {
      if (__atomic_load_n(head_ + i, __ATOMIC_ACQUIRE) != head.words_[i]) return false;
    }
    return true;
  }
  // Whether the file still has a name. A descriptor that was closed behind our back tells nothing.
  bool has_name() const;

 private:
  Index_Map(int fd, const File_Identity& file, const std::uint64_t* head) : fd_(fd), file_(file), head_(head) {}

  const int fd_;
  const File_Identity file_;
  const std::uint64_t* const head_;
  int users_ = 0;  // guarded by the mutex of all maps
};

}  // namespace hive
