// The guards, and the library's place at the end of the process.
//
// At the end the loader runs the destructor function here when the program, and every library that leans on
// this one, is done: the registry is closed. The guards' own destructors come behind it; in a program that
// loaded the library at run time they may come first, and the close does not need what they take down.

#include "bootstrap/guard.h"

#include <kelvane/advapi32.h>
#include <kelvane/process.h>

inline namespace kelvane {
namespace {

int instance_count = 0;

Com_Globals first_guard;
Com_Globals second_guard;

__attribute__((destructor)) void close_at_the_end() { KvCloseRegistryAtEnd(); }

}  // namespace

Com_Globals::Com_Globals() { __atomic_add_fetch(&instance_count, 1, __ATOMIC_RELAXED); }

Com_Globals::~Com_Globals() {
  if (__atomic_sub_fetch(&instance_count, 1, __ATOMIC_ACQ_REL) == 0) KvDestroyAdvapi32();
}

}  // namespace kelvane
