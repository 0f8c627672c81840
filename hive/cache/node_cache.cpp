#include "hive/cache/node_cache.h"

namespace hive {
namespace {

constexpr std::uint32_t rows_for_a_miss = 8;  // reading a row of many costs about an eighth of reading one alone

}  // namespace

Node_Cache& Node_Cache::of_process() {
  static Node_Cache& cache = *new Node_Cache;
  return cache;
}

const Node* Node_Cache::put(std::uint64_t hive, std::int64_t key, std::unique_ptr<Node> node) {
  node->hive_ = hive;
  node->key_ = key;
  node->size_ = node->memory();
  std::lock_guard lock(mutex_);
  Link& head = head_of(hive, key);
  node->next_.store(head.load(std::memory_order_relaxed), std::memory_order_relaxed);
  memory_ += node->size_;
  const Node* held = node.release();
  head.store(held, std::memory_order_release);
  drop_behind(held->next_, hive, key);
  make_room(held);
  return held;
}

void Node_Cache::drop(std::uint64_t hive, std::int64_t key) {
  std::lock_guard lock(mutex_);
  missed_[bucket_of(hive, key)] = 0;
  drop_behind(head_of(hive, key), hive, key);
}

bool Node_Cache::worth_reading(std::uint64_t hive, std::int64_t key, std::uint32_t rows) {
  if (rows <= rows_for_a_miss) return true;
  std::lock_guard lock(mutex_);
  std::uint16_t& missed = missed_[bucket_of(hive, key)];
  const bool is_worth = missed >= (rows - 1) / rows_for_a_miss;
  if (!is_worth) ++missed;
  return is_worth;
}

void Node_Cache::set_budget(std::size_t bytes) {
  std::lock_guard lock(mutex_);
  budget_ = bytes;
  make_room(nullptr);
}

void Node_Cache::drop_behind(Link& first, std::uint64_t hive, std::int64_t key) {
  Link* link = &first;
  while (const Node* node = link->load(std::memory_order_relaxed)) {
    if (node->is_for(hive, key)) return drop_at(*link);
    link = &node->next_;
  }
}

void Node_Cache::drop_at(Link& link) {
  std::unique_ptr<const Node> node(link.load(std::memory_order_relaxed));
  link.store(node->next_.load(std::memory_order_relaxed), std::memory_order_release);
  const std::size_t size = node->size_;
  memory_ -= size;
  retire(std::move(node), size);
}

// Twice around at most: the first time may only take marks away.
void Node_Cache::make_room(const Node* but) {
  for (std::size_t looks = 0; memory_ > budget_ && looks < 2 * buckets; ++looks) {
    clear_bucket(hand_, but);
    hand_ = (hand_ + 1) % buckets;
  }
}

void Node_Cache::clear_bucket(std::size_t bucket, const Node* but) {
  missed_[bucket] = 0;
  Link* link = &heads_[bucket];
  while (const Node* node = link->load(std::memory_order_relaxed)) {
    if (node == but || node->used_.exchange(false, std::memory_order_relaxed)) {
      link = &node->next_;
    } else {
      drop_at(*link);
    }
  }
}

}  // namespace hive
