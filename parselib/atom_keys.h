// Atoms as keys of a set, told apart by their texts.
#pragma once

#include <kelvane/descriptor.h>

inline namespace kelvane {

// Compares with atom_cmp and hashes with atom_hash; a null atom has an empty text. Never destroyed: sets use it
// until the process ends.
const Key_Methods& atom_keys();

}  // namespace kelvane
