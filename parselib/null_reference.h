// Published operations take references that may be null. This library is compiled so that the test for it stays;
// what passes such a reference on is marked for the sanitizers, and nothing else is done with one.
#pragma once

#define KV_MAY_BE_NULL __attribute__((no_sanitize("null")))

inline namespace kelvane {

// The address of a reference, as something that the compiler knows nothing about.
template <class T>
T* unproven(T* address) {
  T* volatile hidden = address;
  return hidden;
}

}  // namespace kelvane
