#include "hive/cache/cached_look.h"

#include "hive/batch.h"
#include "hive/cache/cached_path.h"
#include "hive/cache/node_cache.h"
#include "hive/open_key.h"

namespace hive {

// A key that was found in another hive means nothing in this one.
Cached_Look::Cached_Look(const Read_Section&, const Open_Key& key) : key_(key) {
  if (key.hive == nullptr || (coherence_ = key.hive->coherence()) == nullptr) return;
  const View* view = coherence_->current();
  if (view == nullptr || key.is_lost()) return;
  // A batch's own changes are in its hive alone.
  if (const Batch* batch = Batch::of_thread(); batch != nullptr && batch->hides(coherence_)) return;
  if (key.identity == Hive_Identity{} || key.identity == view->identity) view_ = view;
}

bool Cached_Look::number(std::int64_t* out) const {
  *out = key_.number;
  if (view_ == nullptr) return false;
  return key_.place != Place::by_path || find_path(*this, key_.number, key_.path, out) == Status::ok;
}

const Node* Cached_Look::node() const {
  std::int64_t of_key = 0;
  return number(&of_key) ? node(of_key) : nullptr;
}

const Node* Cached_Look::node(std::int64_t number) const {
  if (view_ == nullptr) return nullptr;
  const Node* node = Node_Cache::of_process().find(view_->hive, number);
  return node != nullptr && node->is_of(view_->generation) ? node : nullptr;
}

}  // namespace hive
