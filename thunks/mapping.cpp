// The lock that guards the window-procedure maps.

#include "thunks/mapping.h"

#include <winbase.h>

inline namespace kelvane {
namespace {

CRITICAL_SECTION Handle_Map_Lock;

}  // namespace

void AdvInitMapping() { InitializeCriticalSection(&Handle_Map_Lock); }

}  // namespace kelvane
