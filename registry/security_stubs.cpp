// Keys carry no published security descriptor: what sets one is believed, what asks for one gets none.

#include <kelvane/advapi32.h>

#include "registry/gate.h"

LSTATUS RegSetKeySecurity(HKEY, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR) { return ERROR_SUCCESS; }

LSTATUS RegGetKeySecurity(HKEY, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR, LPDWORD size) {
  const Registry_Gate gate;
  if (size != nullptr && *size != 0) *size = 0;
  return ERROR_SUCCESS;
}
