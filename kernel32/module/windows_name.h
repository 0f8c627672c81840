// Windows names of modules against files of this host.
#ifndef KELVANE_KERNEL32_MODULE_WINDOWS_NAME_H
#define KELVANE_KERNEL32_MODULE_WINDOWS_NAME_H

#include <string>
#include <string_view>

inline namespace kelvane {

// Whether a module's name, such as "advapi32.dll" or "ADVAPI32", means a file: the file's own name, that name
// with ".dll", or "lib<name>.so", without regard to case; the number of an interface behind ".so" need not be
// told. A name with "/" means exactly that path.
bool is_windows_name_of(std::string_view name, std::string_view file);

// The path of the layer's own library that a name means ("libadvapi32.so.1" beside this library); "" for others.
std::string own_library(std::string_view name);

}  // namespace kelvane

#endif
