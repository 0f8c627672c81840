// One read of a frame or a list: the scanner on its stream, and what the grammar has found.
#pragma once

#include "parselib/scanner.h"

inline namespace kelvane {

struct Read_State {
  // The prefix is that of the reader's generated names.
  Read_State(kvistream& in, const Slot_Machine& with_machine, const char* prefix)
      : machine(with_machine), scanner(in, with_machine, prefix) {}
  Read_State(const Read_State&) = delete;
  Read_State& operator=(const Read_State&) = delete;

  // The frame that was found: its name and its slots, which the state holds from now on.
  void found(Bone* name_atom, Sequence* slots);
  // A frame of one slot of its own name: the atom becomes the slot's key, a copy of it the frame's name.
  void found_single(Bone* name_atom, Bone* value);

  // Reports what the parser has to say about a text that it gives up.
  void fail(const char* message) const;

  // Destroys what was found.
  void abandon();

  const Slot_Machine& machine;
  Scanner scanner;
  clAtom* name = nullptr;
  Sequence* sequence = nullptr;
};

}  // namespace kelvane

// The parsers, made from the grammars beside this file.
enum Parse_Result { PARSED = 0, ABANDONED = 1, STACK_FULL = 2 };
int yyframeioparse(Read_State& read);
int yylistioparse(Read_State& read);
