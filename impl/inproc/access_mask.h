// The rights of a key handle.
#pragma once

#include <winnt.h>

namespace impl {

// The specific rights that an asked-for mask stands for: generic rights and MAXIMUM_ALLOWED are resolved, and
// the flags that choose between 32-bit and 64-bit views, of which there is one, carry nothing.
constexpr DWORD granted_access(DWORD asked) {
  constexpr DWORD generic = GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL;
  DWORD granted = asked & ~(generic | MAXIMUM_ALLOWED | KEY_WOW64_RES);
  if ((asked & GENERIC_READ) != 0) granted |= KEY_READ;
  if ((asked & GENERIC_WRITE) != 0) granted |= KEY_WRITE;
  if ((asked & GENERIC_EXECUTE) != 0) granted |= KEY_EXECUTE;
  if ((asked & (GENERIC_ALL | MAXIMUM_ALLOWED)) != 0) granted |= KEY_ALL_ACCESS;
  return granted;
}

}  // namespace impl
