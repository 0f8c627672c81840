// The service of a process that is a client: made once and never destroyed, because threads may use it while the
// process ends. Making it touches no file and looks for no server.
#include <kelvane/process.h>
#include <winbase.h>

#include "impl/client/client_service.h"

namespace impl {
namespace {

// The registry's own log reads its settings from the registry, so complaints do not go there.
void complain(const std::string& line) { KvConsoleMessage("kelvane registry: %s\n", line.c_str()); }

// The load entry of the server's library sees to it that a server of this core data folder lives.
void start_server() {
  const HMODULE library = LoadLibraryA("advapi32server.dll");
  if (library == nullptr) return;
  const auto ensure = reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(library, "KvIOnLoadDll")));
  if (ensure != nullptr) ensure();
}

client::Settings settings_of_process() {
  client::Settings settings;
  settings.complain = complain;
  if (KvIsProfessionalRegistryMode() != 0) settings.revive = start_server;
  return settings;
}

}  // namespace

Registry_Service& registry_service() {
  static client::Client_Service* const service = new client::Client_Service(settings_of_process());
  return *service;
}

}  // namespace impl
