// Keys as rows: finding, making, removing, counting. Everything here works inside a transaction of its
// caller; a failure of the store is noted in the connection.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hive/registry.h"
#include "hive/store/connection.h"

namespace hive {

inline constexpr std::size_t max_class_units = 16383;
inline constexpr int max_key_depth = 512;  // keys from a root, which is not counted, down to the deepest

struct Key_Row {
  std::int64_t parent = 0;  // 0: a root
  std::string folded;
  std::string class_name;  // stored form
  std::uint64_t written = 0;
  std::uint32_t children = 0;
  std::uint32_t values = 0;
  std::uint32_t max_child_units = 0;
  std::uint32_t max_class_units = 0;
  std::uint32_t max_value_name_units = 0;
  std::uint32_t max_value_size = 0;
  std::uint32_t mode = 0;
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  std::uint32_t flags = 0;
  bool is_volatile = false;
};

// ok, or key_deleted when there is no such key (any more).
Status read_key(Connection& connection, std::int64_t key, Key_Row* out);
Status check_key(Connection& connection, std::int64_t key);

// The key at a path below a key; the key itself for an empty path.
Status find_key(Connection& connection, std::int64_t at, std::u16string_view path, std::int64_t* out);
// The same, making what is missing, within the limits of class and depth. *out_created: whether the last part
// was.
Status create_key(Connection& connection, std::int64_t at, std::u16string_view path, const Creation& creation,
                  std::int64_t* out, bool* out_created);
// A key without sub-keys, with its values.
Status remove_key(Connection& connection, std::int64_t key);
// A key and all below it, volatile ones too.
Status remove_tree(Connection& connection, std::int64_t key);
// exists when the parent has another key of this name; denied for a root and for what stands directly below the root
// of HKEY_USERS.
Status rename_key(Connection& connection, std::int64_t key, std::u16string_view name);

// What a new row says of itself; class and names in stored form.
struct New_Key {
  std::int64_t parent = 0;
  std::string_view name;
  std::string_view folded;
  std::string_view class_name;
  std::uint64_t written = 0;
  std::uint32_t mode = 0;
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  std::uint32_t flags = 0;
  bool is_volatile = false;
};

// The new key's number; 0 on failure. The parent's row is left to the caller.
std::int64_t insert_key(Connection& connection, const New_Key& key);
// With a number that was set aside for it.
Status insert_key_as(Connection& connection, std::int64_t number, const New_Key& key);

// A key without what it has: its values go and all keys below it, volatile ones too. Its own row stays as it is.
Status remove_content(Connection& connection, std::int64_t key);
// How many keys there are from below the root to this one.
int depth_of(Connection& connection, std::int64_t key);
// Tells a key that a sub-key's class is another one.
Status note_changed_class(Connection& connection, std::int64_t parent);

// Takes counts and maxima of the sub-keys from the sub-keys themselves.
Status count_children_anew(Connection& connection, std::int64_t key);

// Steps a statement of one number a row to the end, or to the first that is as large as one can be.
class Statement;
std::uint32_t largest(Statement& rows, std::uint32_t known_bound);

}  // namespace hive
