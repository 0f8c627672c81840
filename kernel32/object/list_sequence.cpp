#include "kernel32/object/list_sequence.h"

#include <algorithm>

List_Sequence::~List_Sequence() = default;

// By position, because the procedure may append.
void List_Sequence::apply(const Proc_Context& procedure) const {
  for (size_t position = 0; position < elements_.size(); ++position) procedure(elements_[position]);
}

bool List_Sequence::remove_first(Bone*& out_element) {
  out_element = nullptr;
  if (elements_.empty()) return false;
  out_element = elements_.front();
  elements_.pop_front();
  return true;
}

bool List_Sequence::remove(const Bone* element) {
  auto last = std::find(elements_.rbegin(), elements_.rend(), element);
  if (last == elements_.rend()) return false;
  elements_.erase(std::next(last).base());
  return true;
}

Bone* List_Sequence::at(size_t position) const { return position < elements_.size() ? elements_[position] : nullptr; }
