#include "kernel32/object/list_sequence.h"

#include <stdlib.h>
#include <string.h>

#include <new>

namespace {

constexpr size_t first_room = 4;

}  // namespace

List_Sequence::~List_Sequence() { free(elements_); }

// By position, because the procedure may append.
void List_Sequence::apply(const Proc_Context& procedure) const {
  for (size_t position = 0; position < count(); ++position) procedure(elements_[first_ + position]);
}

void List_Sequence::delete_tree() {
  for (size_t position = first_; position < end_; ++position) {
    if (elements_[position] != nullptr) elements_[position]->delete_tree();
  }
  delete this;
}

void List_Sequence::insert(Bone* element) {
  if (end_ == room_) make_room();
  elements_[end_++] = element;
}

// At the begin when half of the array is empty there, else by a larger array.
void List_Sequence::make_room() {
  if (first_ > 0 && first_ >= room_ / 2) {
    memmove(elements_, elements_ + first_, count() * sizeof *elements_);
    end_ -= first_;
    first_ = 0;
    return;
  }
  const size_t room = room_ > 0 ? 2 * room_ : first_room;
  void* larger = realloc(elements_, room * sizeof *elements_);
  if (larger == nullptr) throw std::bad_alloc();
  elements_ = static_cast<Bone**>(larger);
  room_ = room;
}

bool List_Sequence::remove_first(Bone*& out_element) {
  out_element = nullptr;
  if (is_empty()) return false;
  out_element = elements_[first_++];
  return true;
}

bool List_Sequence::remove(const Bone* element) {
  for (size_t next = end_; next > first_; --next) {
    if (elements_[next - 1] != element) continue;
    memmove(elements_ + next - 1, elements_ + next, (end_ - next) * sizeof *elements_);
    --end_;
    return true;
  }
  return false;
}

Bone* List_Sequence::at(size_t position) const { return position < count() ? elements_[first_ + position] : nullptr; }
