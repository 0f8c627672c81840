// Entries about the process and about the server.
#include <kelvane/registry_entries.h>
#include <winerror.h>

#include "impl/entries/answer.h"
#include "impl/registry_service.h"

using impl::answer;
using impl::registry_service;

extern "C" {

DWORD KvIRegProcessStarting(void) { return ERROR_SUCCESS; }

DWORD KvIRegShutDown(void) {
  return answer([] { return registry_service().shut_down(); });
}

DWORD KvIRegListConnected(RegistryConnection* list, DWORD* count, void*) {
  if (count == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&] { return registry_service().list_connected(list, count); });
}

// Settings of the log and data of services have no meaning defined yet.
INT_PTR KvIRegUxGetLogSettings(void*, void*, void*, void*, void*, void*) { return ERROR_CALL_NOT_IMPLEMENTED; }

INT_PTR KvISetServiceData(void*, void*, void*, void*, void*, void*) { return ERROR_CALL_NOT_IMPLEMENTED; }

INT_PTR KvIGetServiceData(void*, void*, void*, void*, void*, void*) { return ERROR_CALL_NOT_IMPLEMENTED; }

}  // extern "C"
