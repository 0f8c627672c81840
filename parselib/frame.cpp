// Frames: a name and a set of slots under their keys.

#include <kelvane/frames.h>

#include "parselib/atom_keys.h"
#include "parselib/null_reference.h"

inline namespace kelvane {

KV_MAY_BE_NULL Frame::Frame(clAtom& name, Sequence& slots) : name_(&name) { start(unproven(&slots)); }

KV_MAY_BE_NULL Frame::Frame(const kvistream& in) : name_(nullptr) {
  const One_Arm_Bandit machine;
  start(read_frame(const_cast<kvistream&>(in), machine, name_));
}

Frame::~Frame() {
  slots_.apply(Key_Val_Delete_Tree);
  Key_Val_Delete_Tree(name_);
}

void Frame::start(Sequence* slots) {
  const size_t count = slots != nullptr ? slots->count() : 0;
  slots_.initiate(Use_Close_Hash(static_cast<int>(count)), atom_keys());
  merge(slots);
}

KV_MAY_BE_NULL void Frame::update_slots(Sequence& slots) { merge(unproven(&slots)); }

void Frame::merge(Sequence* slots) {
  if (slots == nullptr) return;
  Bone* element = nullptr;
  while (slots->remove_first(element)) {
    Association* const displaced = slots_.insert(static_cast<Association*>(element), true);
    if (displaced != element) displaced->delete_tree();
  }
  delete slots;
}

KV_MAY_BE_NULL Bone* Frame::slot_val(const clAtom& name, Bone& fallback) const { return slot_val(name, &fallback); }

KV_MAY_BE_NULL Bone* Frame::slot_val(const clAtom& name, Bone* fallback) const {
  const Association* const slot = slots_.lookup(name);
  return slot != nullptr && slot->value() != nullptr ? slot->value() : fallback;
}

const clAtom* Frame::get_key() const { return name_; }

void Frame::write(kvostream& stream) const {
  stream << '[' << name_ << ' ';
  slots_.write(stream);
  // QUIRK frame-ends-its-line: every frame ends with a newline, a nested one too.
  stream << "]\n";
}

void Frame::print(kvostream& stream, const char* indent, const char* separator) const {
  stream << indent << '[' << name_;
  if (!slots_.is_empty()) {
    stream << separator;
    slots_.print(stream, Concat_Strings(indent, "\t").text(), separator);
  }
  stream << ']' << separator;
}

Frame_Of_File::~Frame_Of_File() = default;

Frame_Of_String::~Frame_Of_String() = default;

Frame_Association::~Frame_Association() = default;

void Frame_Association::write(kvostream& stream) const { stream << value_; }

}  // namespace kelvane
