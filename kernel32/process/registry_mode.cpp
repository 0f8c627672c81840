// KvGetRegistryMode: the environment decides, then the machine's configuration, then the embedded default.
#include <kelvane/module.h>
#include <kelvane/process.h>
#include <stdlib.h>
#include <unistd.h>

#include <charconv>
#include <string_view>

#include "kernel32/process/default_registry.h"

namespace {

constexpr int fatal_status = 255;
constexpr const char* machine_configuration = "/etc/kelvane.conf";

struct Named_Mode {
  std::string_view name;
  unsigned mode;
};

constexpr Named_Mode named_modes[] = {
    {"client", KV_REGISTRY_CLIENT},
    {"in-process", KV_REGISTRY_IN_PROCESS},
    {"host", KV_REGISTRY_HOST},
    {"server", KV_REGISTRY_SERVER},
};

// Decimal digits and nothing else, within 32 bits.
bool parse_number(std::string_view text, unsigned& out_number) {
  const char* end = text.data() + text.size();
  std::from_chars_result result = std::from_chars(text.data(), end, out_number);
  return result.ec == std::errc() && result.ptr == end;
}

unsigned parse_mode(const char* text) {
  unsigned mode = 0;
  if (parse_number(text, mode)) return mode;
  for (const Named_Mode& named : named_modes) {
    if (named.name == text) return named.mode;
  }
  KvConsoleMessage(
      "Fatal Error: KVREGISTRY_MODE is \"%s\", which is neither a number nor client, in-process, host or server.\n",
      text);
  Kv_Exit(fatal_status);
}

bool machine_has_a_server() {
  return access(machine_configuration, F_OK) == 0 && KvModuleIsInstalled("advapi32client.dll") != 0;
}

unsigned settle_mode() {
  const char* asked = getenv("KVREGISTRY_MODE");
  if (asked != nullptr) return parse_mode(asked);
  if (getenv("KVREGISTRY") != nullptr) return KV_REGISTRY_IN_PROCESS;
  if (machine_has_a_server()) return KV_REGISTRY_CLIENT;
  kelvane::set_default_registry();
  return KV_REGISTRY_IN_PROCESS;
}

}  // namespace

unsigned KvGetRegistryMode() {
  static const unsigned mode = settle_mode();
  return mode;
}

int KvIsProfessionalRegistryMode() { return KvGetRegistryMode() != KV_REGISTRY_CLIENT; }

const char* KvGetProfessionalRegistryModeString() { return "professional"; }
