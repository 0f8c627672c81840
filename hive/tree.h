// A hive, or a part of one, as a sequence of records: how trees are copied, saved, and made into images and
// back. A tree is its top key: begin_key, its values, its sub-keys (each again a tree), end_key.
//
// A source walks in one transaction and so shows one moment; it calls the visitor with the hive's mutex held,
// so a visitor neither waits nor calls the registry. A sink takes a tree in one transaction and keeps all of
// it or nothing. Texts and data of a record live until the callback returns.
#pragma once

#include <cstdint>
#include <string_view>

#include "hive/identity.h"
#include "hive/status.h"

namespace hive {

inline constexpr std::uint32_t key_flag_link = 1;    // the key is a symbolic link
inline constexpr std::uint32_t key_flag_loaded = 2;  // loading a hive file has made the key; in no image or saved key

struct Key_Record {
  std::u16string_view name;  // empty for the top of a tree: its place has a name, or it is a root
  std::u16string_view class_name;
  std::uint64_t last_write_time = 0;  // 100 ns since 1601
  std::uint32_t mode = 0;             // Unix permission bits
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  std::uint32_t flags = 0;
};

struct Value_Record {
  std::u16string_view name;
  std::uint32_t type = 0;
  const unsigned char* data = nullptr;
  std::uint32_t size = 0;
};

// Takes a tree, record by record. Anything but ok ends the walk, which then gives that status back.
class Tree_Visitor {
 public:
  virtual ~Tree_Visitor() = default;
  virtual Status begin_key(const Key_Record& key) = 0;
  virtual Status value(const Value_Record& value) = 0;
  virtual Status end_key() = 0;
};

// Which state of which hive: a random identity given to a hive when it is made, and the number of its last
// change, which is raised only by the first change after an image was made. The number of a hive that was
// never changed is 0. An identity of zeros is no hive's.
struct Hive_Mark {
  Hive_Identity identity{};
  std::uint64_t number = 0;

  bool operator==(const Hive_Mark&) const = default;
};

struct Image_Head {
  Hive_Mark self;
  Hive_Mark base;  // what the hive was itself last imported from; zeros when never
};

// A whole live hive without its volatile keys, as an image is made of it.
class Tree_Source {
 public:
  virtual ~Tree_Source() = default;
  // *out_head is set before the visitor's first call. A walk that ends well has noted in the same transaction
  // that an image of this state was made: the next change raises the number.
  virtual Status walk(Image_Head* out_head, Tree_Visitor& visitor) = 0;
};

// Takes a tree into a hive that has nothing but its root: the tree's top is that root. finish keeps the tree;
// of one that was not finished nothing stays.
class Tree_Sink : public Tree_Visitor {
 public:
  // head: what was imported; it becomes the hive's base.
  virtual Status finish(const Image_Head& head) = 0;
};

}  // namespace hive
