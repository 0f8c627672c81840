// Users, groups and permission bits of keys as Unix writes them.
#pragma once

#include <windef.h>

#include <string>

namespace kvreg {

// The name, or the number of one that has none.
std::string name_of_user(DWORD user);
std::string name_of_group(DWORD group);
// A name or a number. Throws Bad_Arguments for a name that nobody has.
DWORD parse_user(const std::string& text);
DWORD parse_group(const std::string& text);

// "rwxr-s--T".
std::string shown_mode(DWORD mode);
// "0755", or changes of a mode that stands: "u+w,go-rwx". Throws Bad_Arguments.
DWORD parse_mode(const std::string& text, DWORD standing);

}  // namespace kvreg
