// A search for a text in names and data, key by key in the order of the tree: from a place on to the end, and then from
// the start to that place.
#pragma once

#include <vector>

#include "tools/kvreg/browse/change.h"
#include "tools/kvreg/match.h"

namespace kvreg {

class Search {
 public:
  enum class State { looking, found, ended };

  // The place itself is looked at last.
  Search(std::vector<Key_Path> tops, std::u16string_view text, Place start);

  // Looks at one more key. Keys that cannot be read are passed over.
  State step();
  // Where something was found; then a new search goes on from there.
  const Place& found() const { return found_; }
  std::size_t looked_at() const { return looked_at_; }
  // Whether it has begun again from the start of the tree.
  bool is_wrapped() const { return is_wrapped_; }

 private:
  void begin_behind_start();
  bool look_at_values(const Key_Path& path, bool only_behind_start);
  State look_at(const Key_Path& path);
  void push_sub_keys(const Key_Path& path, std::u16string_view behind = {});

  std::vector<Key_Path> tops_;
  Match match_;
  Place start_;
  Place found_;
  std::vector<Key_Path> pending_;  // the next one last
  bool is_begun_ = false;
  bool is_wrapped_ = false;
  std::size_t looked_at_ = 0;
};

}  // namespace kvreg
