// What all containers share, and the procedures that are applied to them.
#include <kelvane/container.h>
#include <kelvane/stream.h>

Container::~Container() = default;

void Container::delete_tree() {
  apply(Key_Val_Delete_Tree);
  delete this;
}

Sequence::~Sequence() = default;

void Sequence::write(kvostream& stream) const {
  stream << '(';
  for (size_t position = 0; position < count(); ++position) {
    if (position > 0) stream << ' ';
    stream << at(position);
  }
  stream << ')';
}

void kelvane::Delete_Bones(Bone* element) { delete element; }

void kelvane::Key_Val_Delete_Tree(Bone* element) {
  if (element != nullptr) element->delete_tree();
}
