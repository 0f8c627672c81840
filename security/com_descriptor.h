// The descriptor of a COM permission before it is edited: a new one, or the stored one in host order.
#pragma once

#include <winreg.h>

#include "security/free_block.h"

inline namespace kelvane {

// Self-relative, though its control word need not say so. Both are empty when there is none.
struct Com_Descriptor {
  Block bytes;
  DWORD size = 0;
};

// Everybody, in a block of 2,076 bytes. 0, or ERROR_OUTOFMEMORY (14).
LONG KvSDCreateNewSD(Com_Descriptor& out);

// The value of this name. 0, what the query answers, E_OUTOFMEMORY, or REGDB_E_INVALIDVALUE for a value that is not
// REG_BINARY, has less than 40 bytes or another revision.
LONG KvSDGetRegistrySD(HKEY key, const char* value_name, Com_Descriptor& out);

}  // namespace kelvane
