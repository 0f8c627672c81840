/* A module that cannot be loaded: nobody defines what it calls. */
#include <windef.h>

KV_EXPORT int probe_needs_nothing_there(void);
int probe_defined_by_nobody(void);
int probe_needs_nothing_there(void) { return probe_defined_by_nobody(); }
