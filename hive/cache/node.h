// What is known of one key: its record, and as far as they were asked for its values and the names of its
// sub-keys. A node is immutable but for the mark under which it was last found true, and is replaced whole.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hive/cache/name_table.h"
#include "hive/cache/read_section.h"
#include "hive/registry.h"

namespace hive {

// Data of up to eight bytes lies in the entry itself.
struct alignas(64) Cached_Value : Named {
  std::uint32_t type = 0;
  std::uint32_t size = 0;
  union {
    unsigned char few_bytes[8] = {};
    std::uint32_t data_at;
  };
  bool has_data = false;  // else it is too large to be kept
};
static_assert(sizeof(Cached_Value) == 64);

struct alignas(64) Cached_Child : Named {
  std::int64_t number = 0;
  std::uint32_t class_at = 0;
  std::uint32_t class_units = 0;
};
static_assert(sizeof(Cached_Child) == 64);

using Child_Names = Name_Table<Cached_Child>;

class Value_Names : public Name_Table<Cached_Value> {
 public:
  void keep_data(Cached_Value& value, std::string_view bytes) {
    value.has_data = true;
    if (bytes.size() <= sizeof value.few_bytes) {
      std::copy(bytes.begin(), bytes.end(), value.few_bytes);
      return;
    }
    value.data_at = static_cast<std::uint32_t>(data_.size());
    data_.insert(data_.end(), bytes.begin(), bytes.end());
  }
  const unsigned char* data(const Cached_Value& value) const {
    return value.size <= sizeof value.few_bytes ? value.few_bytes : data_.data() + value.data_at;
  }
  std::size_t memory() const { return Name_Table::memory() + data_.capacity(); }

 private:
  std::vector<unsigned char> data_;
};

struct Key_Facts {
  std::int64_t seq = 0;
  Key_Counts counts{};
  Key_Rights rights{};
  std::u16string class_name;
};

class alignas(64) Node final : public Shared_Object {
 public:
  // Of which generation of the hive's coherence the node was last found true.
  bool is_of(std::uint64_t generation) const { return generation_.load(std::memory_order_acquire) == generation; }
  void found_true_in(std::uint64_t generation) const { generation_.store(generation, std::memory_order_release); }

  void set_values(std::shared_ptr<const Value_Names> names);
  // Null: not known.
  const Value_Names* values() const { return values_.get(); }
  bool knows_values() const { return static_cast<bool>(value_finder_); }
  // While the values are known; null when there is none of this name.
  const Cached_Value* find_value(const Folded_Name& name) const { return value_finder_.find(name); }

  std::unique_ptr<Node> copy() const;
  std::size_t memory() const;

 private:
  friend class Node_Cache;

  bool is_for(std::uint64_t hive, std::int64_t key) const { return key_ == key && hive_ == hive; }

  // What a look-up by name touches lies together.
  mutable std::atomic<std::uint64_t> generation_{0};
  std::uint64_t hive_ = 0;  // with the key: what the cache finds it by
  std::int64_t key_ = 0;
  Value_Names::Finder value_finder_;
  mutable std::atomic<bool> used_{true};  // since the cache last looked for what can go

  mutable std::atomic<const Node*> next_{nullptr};  // in the cache
  std::size_t size_ = 0;                            // as the cache counts it
  std::shared_ptr<const Value_Names> values_;

 public:
  Key_Facts facts;
  bool values_are_too_much = false;             // to be kept
  std::shared_ptr<const Child_Names> children;  // null: not known, or too many
};

}  // namespace hive
