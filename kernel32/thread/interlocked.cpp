// Atomic arithmetic on the caller's own variables.
#include <winbase.h>

LONG InterlockedIncrement(LONG volatile* value) { return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST); }
