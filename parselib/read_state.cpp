#include "parselib/read_state.h"

#include <cstring>

#include "parselib/frame_parts.h"

inline namespace kelvane {

void Read_State::found(Bone* name_atom, Sequence* slots) {
  name = static_cast<clAtom*>(name_atom);
  sequence = slots;
}

void Read_State::found_single(Bone* name_atom, Bone* value) {
  clAtom* const copy = new clAtom(*static_cast<clAtom*>(name_atom));
  found(copy, sequence_of(new_slot(name_atom, value)));
}

void Read_State::fail(const char* message) const {
  const bool stack_is_full = std::strcmp(message, "memory exhausted") == 0;
  scanner.report(stack_is_full ? "parser stack overflow" : "parse error");
}

void Read_State::abandon() {
  destroy(name);
  destroy(sequence);
  name = nullptr;
  sequence = nullptr;
}

}  // namespace kelvane
