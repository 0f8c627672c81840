#include "hive/cache/node_cache.h"

namespace hive {
namespace {

constexpr std::uint32_t rows_for_a_miss = 8;  // reading a row of many costs about an eighth of reading one alone

}  // namespace

Node_Cache& Node_Cache::of_process() {
  static Node_Cache& cache = *new Node_Cache;
  return cache;
}

std::size_t Node_Cache::bucket_of(std::uint64_t hive, std::int64_t key) {
  const std::uint64_t number = (static_cast<std::uint64_t>(key) + (hive << 48)) * 0x9E3779B97F4A7C15u;
  return (number >> 32) % buckets;
}

Node_Cache::Entry* Node_Cache::find_entry(std::uint64_t hive, std::int64_t key) const {
  Entry* entry = heads_[bucket_of(hive, key)].load(std::memory_order_acquire);
  while (entry != nullptr && !(entry->key == key && entry->hive == hive)) {
    entry = entry->next.load(std::memory_order_acquire);
  }
  return entry;
}

const Node* Node_Cache::find(std::uint64_t hive, std::int64_t key) const {
  const Entry* entry = find_entry(hive, key);
  if (entry == nullptr) return nullptr;
  if (!entry->used.load(std::memory_order_relaxed)) entry->used.store(true, std::memory_order_relaxed);
  return entry->node.load(std::memory_order_acquire);
}

Node_Cache::Entry* Node_Cache::make_entry(std::uint64_t hive, std::int64_t key) {
  if (Entry* known = find_entry(hive, key)) return known;
  auto* entry = new Entry;
  entry->hive = hive;
  entry->key = key;
  entry->size = sizeof(Entry);
  memory_ += entry->size;
  std::atomic<Entry*>& head = heads_[bucket_of(hive, key)];
  entry->next.store(head.load(std::memory_order_relaxed), std::memory_order_relaxed);
  head.store(entry, std::memory_order_release);
  return entry;
}

void Node_Cache::set_node(Entry& entry, std::unique_ptr<const Node> node) {
  memory_ -= entry.size;
  entry.size = sizeof(Entry) + (node == nullptr ? 0 : node->memory());
  memory_ += entry.size;
  retire(std::unique_ptr<const Shared_Object>(entry.node.exchange(node.release(), std::memory_order_acq_rel)));
}

const Node* Node_Cache::put(std::uint64_t hive, std::int64_t key, std::unique_ptr<Node> node) {
  const Node* held = node.get();
  std::lock_guard lock(mutex_);
  Entry* entry = make_entry(hive, key);
  entry->used.store(true, std::memory_order_relaxed);
  set_node(*entry, std::move(node));
  make_room(entry);
  return held;
}

void Node_Cache::drop(std::uint64_t hive, std::int64_t key) {
  std::lock_guard lock(mutex_);
  Entry* entry = find_entry(hive, key);
  if (entry == nullptr) return;
  entry->missed = 0;
  set_node(*entry, nullptr);
}

bool Node_Cache::worth_reading(std::uint64_t hive, std::int64_t key, std::uint32_t rows) {
  if (rows <= rows_for_a_miss) return true;
  std::lock_guard lock(mutex_);
  return ++make_entry(hive, key)->missed > (rows - 1) / rows_for_a_miss;
}

void Node_Cache::set_budget(std::size_t bytes) {
  std::lock_guard lock(mutex_);
  budget_ = bytes;
  make_room(nullptr);
}

// Twice around at most: the first time may only take marks away.
void Node_Cache::make_room(const Entry* but) {
  for (std::size_t looks = 0; memory_ > budget_ && looks < 2 * buckets; ++looks) {
    clear_bucket(heads_[hand_], but);
    hand_ = (hand_ + 1) % buckets;
  }
}

void Node_Cache::clear_bucket(std::atomic<Entry*>& head, const Entry* but) {
  std::atomic<Entry*>* link = &head;
  while (Entry* entry = link->load(std::memory_order_relaxed)) {
    if (entry == but || entry->used.exchange(false, std::memory_order_relaxed)) {
      link = &entry->next;
      continue;
    }
    set_node(*entry, nullptr);
    memory_ -= entry->size;
    link->store(entry->next.load(std::memory_order_relaxed), std::memory_order_release);
    retire(std::unique_ptr<const Shared_Object>(entry));
  }
}

}  // namespace hive
