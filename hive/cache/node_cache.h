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
  const Node* find(std::uint64_t hive, std::int64_t key) const {
    const Node* node = heads_[bucket_of(hive, key)].load(std::memory_order_acquire);
    while (node != nullptr && !node->is_for(hive, key)) node = node->next_.load(std::memory_order_acquire);
    if (node == nullptr) return nullptr;
    if (!node->used_.load(std::memory_order_relaxed)) node->used_.store(true, std::memory_order_relaxed);
    return node;
  }

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

  using Link = std::atomic<const Node*>;

  Node_Cache() = default;

  static std::size_t bucket_of(std::uint64_t hive, std::int64_t key) {
    const std::uint64_t number = (static_cast<std::uint64_t>(key) + (hive << 48)) * 0x9E3779B97F4A7C15u;
    return (number >> 32) % buckets;
  }
  Link& head_of(std::uint64_t hive, std::int64_t key) { return heads_[bucket_of(hive, key)]; }
  void drop_behind(Link& first, std::uint64_t hive, std::int64_t key);
  void drop_at(Link& link);
  void make_room(const Node* but);
  void clear_bucket(std::size_t bucket, const Node* but);

  std::mutex mutex_;  // of everything but finding; nothing is called while it is held
  std::array<Link, buckets> heads_{};
  // How often a part of a bucket's keys was asked for that is not held.
  std::array<std::uint16_t, buckets> missed_{};
  std::atomic<std::size_t> memory_{0};
  std::size_t budget_ = usual_budget;
  std::size_t hand_ = 0;  // the bucket that is looked at next for what can go
};

}  // namespace hive
