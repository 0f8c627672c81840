// What the grammars build of the values that the scanner gives them. Every function takes its arguments over.
#pragma once

#include <kelvane/frames.h>

inline namespace kelvane {

// With all that it owns; null is passed over.
inline void destroy(Bone* bone) { Key_Val_Delete_Tree(bone); }

Sequence* new_sequence();
Sequence* sequence_of(Bone* element);
Sequence* appended(Sequence* sequence, Bone* element);

Bone* new_slot(Bone* key_atom, Bone* value);
Bone* new_frame_slot(const Slot_Machine& machine, Bone* name_atom, Sequence* slots);
Bone* new_frame_value(const Slot_Machine& machine, Bone* name_atom, Sequence* slots);
Bone* atom_value(const Slot_Machine& machine, Bone* atom);

// The key of a slot of several values.
Bone* key_of_list(const Slot_Machine& machine, Bone* name_atom);

}  // namespace kelvane
