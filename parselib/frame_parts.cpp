#include "parselib/frame_parts.h"

inline namespace kelvane {
namespace {

clAtom& as_atom(Bone* bone) { return *static_cast<clAtom*>(bone); }

}  // namespace

Sequence* new_sequence() { return Use_Queue_List().make(); }

Sequence* sequence_of(Bone* element) { return appended(new_sequence(), element); }

Sequence* appended(Sequence* sequence, Bone* element) {
  sequence->insert(element);
  return sequence;
}

Bone* new_slot(Bone* key_atom, Bone* value) { return new Association(&as_atom(key_atom), value); }

Bone* new_frame_slot(const Slot_Machine& machine, Bone* name_atom, Sequence* slots) {
  return new Frame_Association(&as_atom(name_atom), machine.frame(as_atom(name_atom), *slots));
}

Bone* new_frame_value(const Slot_Machine& machine, Bone* name_atom, Sequence* slots) {
  Bone* const frame = machine.frame(as_atom(name_atom), *slots);
  destroy(name_atom);
  return frame;
}

Bone* atom_value(const Slot_Machine& machine, Bone* atom) { return machine.atom(as_atom(atom)); }

// Both classes have Bone as their first base, so the address is the same under either type.
Bone* key_of_list(const Slot_Machine& machine, Bone* name_atom) {
  return machine.list(*reinterpret_cast<Sequence*>(name_atom));
}

}  // namespace kelvane
