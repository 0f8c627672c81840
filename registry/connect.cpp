// The registry of another machine.

#include <kelvane/advapi32.h>
#include <kelvane/text.h>

#include "bootstrap/registry_table.h"
#include "registry/gate.h"
#include "registry/win_char.h"

LSTATUS RegConnectRegistryA(LPCSTR machine, HKEY key, PHKEY out_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(machine);
    return static_cast<LSTATUS>(slot<Slot::KvIRegConnectRegistry>(name.data(), key, out_key, nullptr));
  });
}

LSTATUS RegConnectRegistryW(LPCWSTR machine, HKEY key, PHKEY out_key) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const KvAnsiString name(machine, -1);
    return RegConnectRegistryA(name, key, out_key);
  });
}
