// What "advapi32server.dll" does when a program of mode 3 loads it; the client library, which is bound after it, asks
// the server that is made sure of here. In mode 2 the library is loaded without this entry being called.
#include <kelvane/registry_entries.h>

#include "impl/server/start_server.h"

extern "C" void KvIOnLoadDll(void) { impl::make_sure_server_lives(); }
