// Views of keys: there is one, so nothing is reflected, and nothing can be switched. The handle is looked at all the
// same.

#include <winerror.h>
#include <winreg.h>

#include "registry/front_trace.h"
#include "registry/later/opened_key.h"

inline namespace kelvane {
namespace {

// Opening a key again without any right shows whether the handle is good.
LSTATUS check(HKEY key) {
  Opened_Key again;
  return RegOpenKeyExA(key, nullptr, 0, 0, again.out());
}

}  // namespace
}  // namespace kelvane

LSTATUS RegQueryReflectionKey(HKEY key, BOOL* out_is_disabled) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (out_is_disabled == nullptr) return ERROR_INVALID_PARAMETER;
    const LSTATUS result = check(key);
    if (result == ERROR_SUCCESS) *out_is_disabled = TRUE;
    return result;
  });
}

LSTATUS RegDisableReflectionKey(HKEY key) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS { return check(key); });
}

LSTATUS RegEnableReflectionKey(HKEY key) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS { return check(key); });
}
