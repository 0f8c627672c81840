// Where modules are searched.
#ifndef KELVANE_KERNEL32_MODULE_SEARCH_H
#define KELVANE_KERNEL32_MODULE_SEARCH_H

#include <string>
#include <string_view>

inline namespace kelvane {

// The folders of modules, separated by ":" and in the order in which they are searched: those of
// KVMODULE_PATH, then "kelvane/" beside this library. Empty parts are to be passed over.
std::string module_folders();

// The path of the first file of this name in those folders; "" when there is none. Only a regular file (or a
// link to one) counts, readable or not.
std::string find_module_file(std::string_view name);

// The folder of this library's own file, with "/" at its end; "" when the system does not tell it.
const std::string& library_folder();

// The path made absolute by the current directory; links are kept.
std::string absolute_path(const std::string& path);

}  // namespace kelvane

#endif
