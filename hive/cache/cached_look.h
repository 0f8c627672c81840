// One look into memory: what is held of a key's hive, if it is known to be true. Everything it gives lives as
// long as it does.
#pragma once

#include <cstdint>

#include "hive/batch.h"
#include "hive/cache/coherence.h"
#include "hive/cache/node_cache.h"
#include "hive/cache/read_section.h"
#include "hive/open_key.h"

namespace hive {

class Cached_Look {
 public:
  // In a Read_Section that outlives it.
  Cached_Look(const Read_Section& section, const Open_Key& key);
  Cached_Look(const Cached_Look&) = delete;
  Cached_Look& operator=(const Cached_Look&) = delete;

  // The key's number; for a root that is a path, that of the key at it. False when memory cannot tell.
  bool number(std::int64_t* out) const;
  // The key itself; null when memory cannot tell.
  const Node* node() const;
  // A key of the hive.
  const Node* node(std::int64_t number) const;

  // Of the hive, while there is a look to be had.
  const Hive_Identity& identity() const { return view_->identity; }
  std::uint64_t hive() const { return view_->hive; }
  // Whether all that was found so far is true together.
  bool still_holds() const { return coherence_->current() == view_; }

 private:
  const Open_Key& key_;
  const Coherence* coherence_ = nullptr;
  const View* view_ = nullptr;
};

// Every read passes these.

// A key that was found in another hive means nothing in this one.
inline Cached_Look::Cached_Look(const Read_Section&, const Open_Key& key) : key_(key) {
  if (key.hive == nullptr || (coherence_ = key.hive->coherence()) == nullptr) return;
  const View* view = coherence_->current();
  if (view == nullptr || key.is_lost()) return;
  // A batch's own changes are in its hive alone.
  if (const Batch* batch = Batch::of_thread(); batch != nullptr && batch->hides(coherence_)) return;
  if (is_same(key.identity, view->identity) || is_same(key.identity, {})) view_ = view;
}

inline const Node* Cached_Look::node() const {
  std::int64_t of_key = key_.number;
  return key_.place != Place::by_path || number(&of_key) ? node(of_key) : nullptr;
}

inline const Node* Cached_Look::node(std::int64_t number) const {
  if (view_ == nullptr) return nullptr;
  const Node* node = Node_Cache::of_process().find(view_->hive, number);
  return node != nullptr && node->is_of(view_->generation) ? node : nullptr;
}

}  // namespace hive
