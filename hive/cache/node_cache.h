// The nodes that this process holds, of all its hives, within a budget of memory. Finding takes no lock; what
// was not used lately goes first (a second chance for what was used since the last look, which comes close to
// least recently used and lets readers write nothing but a mark).
//
// Whether a node is true is not decided here.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "hive/cache/node.h"

namespace hive {

class Node_Cache {
 public:
  static constexpr std::size_t usual_budget = 16u * 1024 * 1024;  // bytes

  static Node_Cache& of_process();

  // In a Read_Section, for as long as it lasts. hive: a number that only this hive's nodes have.
  const Node* find(std::uint64_t hive, std::int64_t key) const;

  // Takes the place of the key's former node.
  const Node* put(std::uint64_t hive, std::int64_t key, std::unique_ptr<Node> node);
  void drop(std::uint64_t hive, std::int64_t key);

  // Whether a part of so many rows is worth being read as a whole: a few at once, more when it was asked for
  // often enough since the key last changed.
  bool worth_reading(std::uint64_t hive, std::int64_t key, std::uint32_t rows);

  std::size_t memory() const { return memory_.load(std::memory_order_relaxed); }
  void set_budget(std::size_t bytes);

  // Around a fork.
  void hold() { mutex_.lock(); }
  void let_go() { mutex_.unlock(); }

 private:
  static constexpr std::size_t buckets = 16384;

  struct alignas(64) Entry final : Shared_Object {
    std::uint64_t hive = 0;
    std::int64_t key = 0;
    std::atomic<Entry*> next{nullptr};
    std::atomic<const Node*> node{nullptr};
    mutable std::atomic<bool> used{true};
    std::size_t size = 0;
    std::uint32_t missed = 0;
  };

  Node_Cache() = default;

  static std::size_t bucket_of(std::uint64_t hive, std::int64_t key);
  Entry* find_entry(std::uint64_t hive, std::int64_t key) const;
  Entry* make_entry(std::uint64_t hive, std::int64_t key);
  void set_node(Entry& entry, std::unique_ptr<const Node> node);
  void make_room(const Entry* but);
  void clear_bucket(std::atomic<Entry*>& head, const Entry* but);

  std::mutex mutex_;  // of everything but finding; nothing is called while it is held
  std::array<std::atomic<Entry*>, buckets> heads_{};
  std::atomic<std::size_t> memory_{0};
  std::size_t budget_ = usual_budget;
  std::size_t hand_ = 0;  // the bucket that is looked at next for what can go
};

}  // namespace hive
