// Keys carry no published security descriptor: what sets one is believed, what asks for one gets none.

#include <kelvane/advapi32.h>

#include "registry/gate.h"

LSTATUS RegSetKeySecurity(HKEY key, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS { return ERROR_SUCCESS; });
}

LSTATUS RegGetKeySecurity(HKEY key, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR, LPDWORD size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (size != nullptr && *size != 0) *size = 0;
    return ERROR_SUCCESS;
  });
}
