// Whole trees out of a hive and into one; see hive/tree.h. Volatile keys are left out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/store/connection.h"
#include "hive/tree.h"

namespace hive {

// Shows a key and all below it. In a transaction of its caller.
Status walk_tree(Connection& connection, std::int64_t key, Tree_Visitor& visitor);

// Writes a tree below a root that has nothing yet, the tree's top into the root itself. In a writing
// transaction of its caller. A tree that no hive can hold (two keys of one name, too long a name) is damaged; one
// that is too deep only for where it goes is invalid.
class Tree_Writer : public Tree_Visitor {
 public:
  // depth: how many keys below the hive's root the tree's top stands.
  Tree_Writer(Connection& connection, std::int64_t root, std::size_t depth = 0)
      : connection_(connection), root_(root), depth_(depth) {}

  Status begin_key(const Key_Record& key) override;
  Status value(const Value_Record& value) override;
  Status end_key() override;

 private:
  // A key whose end has not come, and what was counted in it so far.
  struct Level {
    std::int64_t key = 0;
    std::uint32_t children = 0;
    std::uint32_t values = 0;
    std::uint32_t max_child_units = 0;
    std::uint32_t max_class_units = 0;
    std::uint32_t max_value_name_units = 0;
    std::uint32_t max_value_size = 0;
  };

  Status begin_top(const Key_Record& key);

  Connection& connection_;
  std::int64_t root_;
  std::size_t depth_;
  std::vector<Level> levels_;
};

}  // namespace hive
