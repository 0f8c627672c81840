#include "tools/kvreg/browse/undo_list.h"

namespace kvreg {

void Undo_List::push(std::unique_ptr<Change> change) {
  bytes_ += change->size();
  changes_.push_back(std::move(change));
  while (changes_.size() > 1 && (changes_.size() > most_changes || bytes_ > most_bytes)) {
    bytes_ -= changes_.front()->size();
    changes_.pop_front();
  }
}

std::unique_ptr<Change> Undo_List::take() {
  if (changes_.empty()) return nullptr;
  std::unique_ptr<Change> newest = std::move(changes_.back());
  changes_.pop_back();
  bytes_ -= newest->size();
  return newest;
}

}  // namespace kvreg
