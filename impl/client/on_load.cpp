// What "advapi32client.dll" does when it is loaded: makes the service, so that threads started later find it. Touches
// no file and looks for no server.
#include <kelvane/registry_entries.h>

#include "impl/registry_service.h"

extern "C" void KvIOnLoadDll(void) { impl::registry_service(); }
