// The tree of keys as rows: the tops, and below each key that is open its sub-keys. One row is selected.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/kvreg/key_path.h"

namespace kvreg {

class Key_Tree {
 public:
  struct Row {
    Key_Path path;
    int depth;  // 0 for a top
    bool is_open;
  };

  // The first top is selected; nothing is open.
  explicit Key_Tree(std::vector<Key_Path> tops);

  const std::vector<Key_Path>& tops() const { return tops_; }
  const std::vector<Row>& rows() const { return rows_; }
  std::size_t selected() const { return selected_; }
  const Key_Path& path() const { return rows_[selected_].path; }
  // Whether a closed key has sub-keys that may be seen.
  bool has_more(const Row& row) const;

  void select(std::size_t row);
  void move(std::ptrdiff_t by);
  // The selected key shows its sub-keys, or hides them.
  void open();
  void close();
  // Selects the key above. False for a top.
  bool leave();
  // Opens what is above the key and selects it, or the lowest key above it that is there: false then.
  bool show(const Key_Path& path);
  // Reads everything again; what is open stays so, and what is selected, as in show.
  bool refresh();
  // Keys below the first path are below the second one now, for what is open.
  void follow(const Key_Path& from, const Key_Path& to);

 private:
  void append(const Key_Path& path, int depth);
  bool select_path(const Key_Path& path);

  std::vector<Key_Path> tops_;
  std::vector<Row> rows_;
  std::size_t selected_ = 0;
  std::set<std::u16string> open_;  // folded paths
};

// Whether both lead to one key by the same names.
bool is_same_path(const Key_Path& one, const Key_Path& other);
// Names of the sub-keys; none where they cannot be read.
std::vector<std::u16string> readable_sub_keys(const Key_Path& path);

}  // namespace kvreg
