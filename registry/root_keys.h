// The predefined root keys, as the fronts that treat them apart see them.
#pragma once

#include <winreg.h>

inline namespace kelvane {

// Whether the handle is one of the nine roots, compared as a whole 64-bit value: a sign-extended constant is
// none.
bool is_predefined_key(HKEY key);

// Whether a name says nothing: null or empty.
inline bool is_empty(const char* name) { return name == nullptr || *name == '\0'; }
inline bool is_empty(const wchar_t* name) { return name == nullptr || *name == L'\0'; }

}  // namespace kelvane
