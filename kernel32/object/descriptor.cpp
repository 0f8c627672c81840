// Which container each descriptor builds.
#include <kelvane/descriptor.h>

#include "kernel32/object/hash_set.h"
#include "kernel32/object/list_sequence.h"
#include "kernel32/object/ordered_set.h"
#include "kernel32/object/zeroed_block.h"

Keyed_Set::~Keyed_Set() = default;
void* Keyed_Set::operator new(size_t size) { return new_zeroed_block(size); }
void Keyed_Set::operator delete(void* block) { free_block(block); }

Set_Desc::~Set_Desc() = default;

Ord_Set_Desc::~Ord_Set_Desc() = default;

Seq_Desc::~Seq_Desc() = default;
Sequence* Seq_Desc::operator()(const Elem_Methods&, const Key_Methods&) const { return make(); }
Sequence* Seq_Desc::make() const { return new List_Sequence; }

Use_Stack_List::~Use_Stack_List() = default;
Use_Stack_List* Use_Stack_List::spawn() const { return new Use_Stack_List(*this); }

Use_Queue_List::~Use_Queue_List() = default;
Use_Queue_List* Use_Queue_List::spawn() const { return new Use_Queue_List(*this); }

Use_Ord_List::~Use_Ord_List() = default;
Use_Ord_List* Use_Ord_List::spawn() const { return new Use_Ord_List(*this); }
Sequence* Use_Ord_List::make() const { return new List_Sequence; }
Keyed_Set* Use_Ord_List::operator()(const Elem_Methods& elements, const Key_Methods& keys) const {
  return new Ordered_Set(elements, keys);
}

Use_Close_Hash::~Use_Close_Hash() = default;
Use_Close_Hash* Use_Close_Hash::spawn() const { return new Use_Close_Hash(*this); }
Keyed_Set* Use_Close_Hash::operator()(const Elem_Methods& elements, const Key_Methods& keys) const {
  return new Hash_Set(elements, keys, size_);
}

Use_Open_Hash::~Use_Open_Hash() = default;
Use_Open_Hash* Use_Open_Hash::spawn() const { return new Use_Open_Hash(*this); }
Keyed_Set* Use_Open_Hash::operator()(const Elem_Methods& elements, const Key_Methods& keys) const {
  return new Hash_Set(elements, keys, size_);
}
