// Which handles are modules. A module that LoadLibraryA gave out stays loaded for the life of the process.
#ifndef KELVANE_KERNEL32_MODULE_LOADED_H
#define KELVANE_KERNEL32_MODULE_LOADED_H

#include <windef.h>

struct link_map;

inline namespace kelvane {

// Remembers a handle that the loader gave us.
void remember_module(void* handle);

// The loader's record of a module that we or the program itself loaded; null for any other handle, which is
// never read through.
const link_map* loaded_module(HMODULE module);

}  // namespace kelvane

#endif
