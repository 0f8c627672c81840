// The test for predefined root keys.

#include "registry/root_keys.h"

#include <kelvane/advapi32.h>

const HKEY HKEY_ROOT = reinterpret_cast<HKEY>(ULONG_PTR{0x85000000u});

inline namespace kelvane {

bool is_predefined_key(HKEY key) {
  const HKEY roots[] = {
      HKEY_LOCAL_MACHINE,    HKEY_CLASSES_ROOT,        HKEY_CURRENT_USER,   HKEY_USERS,    HKEY_PERFORMANCE_DATA,
      HKEY_PERFORMANCE_TEXT, HKEY_PERFORMANCE_NLSTEXT, HKEY_CURRENT_CONFIG, HKEY_DYN_DATA,
  };
  constexpr ULONG_PTR root_bit = 0x80000000u;
  if ((reinterpret_cast<ULONG_PTR>(key) & root_bit) == 0) return false;
  for (HKEY root : roots)
    if (key == root) return true;
  return false;
}

}  // namespace kelvane
