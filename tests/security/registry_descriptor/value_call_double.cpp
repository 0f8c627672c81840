#include "tests/security/registry_descriptor/value_call_double.h"

#include <dlfcn.h>

namespace kvtest {

Asked& last_asked() {
  static Asked asked;
  return asked;
}

}  // namespace kvtest

extern "C" KV_EXPORT LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR value_name, LPDWORD reserved, LPDWORD type,
                                                     LPBYTE data, LPDWORD size) {
  kvtest::last_asked() = {size != nullptr, size != nullptr ? *size : 0, data};
  static const auto real = reinterpret_cast<decltype(&RegQueryValueExA)>(dlsym(RTLD_NEXT, "RegQueryValueExA"));
  return real(key, value_name, reserved, type, data, size);
}
