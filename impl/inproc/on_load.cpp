// What "advapi32impl.dll" does when it is loaded: makes the service, so that threads started later find it. Touches no
// file.
#include <kelvane/registry_entries.h>

#include "impl/registry_service.h"

extern "C" void KvIOnLoadDll(void) { impl::registry_service(); }
