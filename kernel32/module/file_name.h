// The file of a module as text of any length.
#ifndef KELVANE_KERNEL32_MODULE_FILE_NAME_H
#define KELVANE_KERNEL32_MODULE_FILE_NAME_H

#include <windef.h>

#include <string>

inline namespace kelvane {

// The full path of the program's file; "" when the system does not tell it.
std::string program_file();

// The full path of a module's file, the program's for null; "" for an unknown module.
std::string module_file(HMODULE module);

}  // namespace kelvane

#endif
