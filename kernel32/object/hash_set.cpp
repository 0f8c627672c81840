#include "kernel32/object/hash_set.h"

#include <algorithm>
#include <utility>

namespace {

// Fewer empty positions than this are not worth closing.
constexpr size_t gaps_to_bear = 16;

}  // namespace

Hash_Set::Hash_Set(const Elem_Methods& elements, const Key_Methods& keys, int expected_count)
    : element_methods_(elements), key_methods_(keys) {
  // A hint of the caller's configuration, which may be any number.
  constexpr int most_to_reserve = 4096;
  size_t count = static_cast<size_t>(std::clamp(expected_count, 0, most_to_reserve));
  elements_.reserve(count);
  index_.reserve(count);
}

Hash_Set::~Hash_Set() = default;

Hash_Set::Index::const_iterator Hash_Set::find(const void* key, unsigned hash) const {
  auto [begin, end] = index_.equal_range(hash);
  for (auto entry = begin; entry != end; ++entry) {
    if (key_methods_.compare(element_methods_.key(elements_[entry->second]), key) == 0) return entry;
  }
  return index_.end();
}

void* Hash_Set::insert(void* element, bool replace) {
  const void* key = element_methods_.key(element);
  unsigned hash = key_methods_.hash(key);
  auto entry = find(key, hash);
  if (entry != index_.end()) {
    void* old = elements_[entry->second];
    if (replace) elements_[entry->second] = element;
    return old;
  }
  if (elements_.size() - index_.size() > index_.size() + gaps_to_bear) close_gaps();
  elements_.push_back(element);
  index_.emplace(hash, elements_.size() - 1);
  return element;
}

void* Hash_Set::lookup(const void* key) const {
  auto entry = find(key, key_methods_.hash(key));
  return entry != index_.end() ? elements_[entry->second] : nullptr;
}

void* Hash_Set::remove(const void* key) {
  auto entry = find(key, key_methods_.hash(key));
  if (entry == index_.end()) return nullptr;
  void* element = std::exchange(elements_[entry->second], nullptr);
  index_.erase(entry);
  return element;
}

void Hash_Set::close_gaps() {
  std::vector<size_t> new_positions(elements_.size());
  size_t next = 0;
  for (size_t position = 0; position < elements_.size(); ++position) {
    new_positions[position] = next;
    if (elements_[position] != nullptr) elements_[next++] = elements_[position];
  }
  elements_.resize(next);
  for (auto& entry : index_) entry.second = new_positions[entry.second];
}
