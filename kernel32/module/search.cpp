// KVMODULE_PATH is read anew each time; a program that runs with raised rights ignores it, since it names code
// to run. The library's own folder is settled at the first search.
#include "kernel32/module/search.h"

#include <dlfcn.h>
#include <kelvane/module.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>

namespace {

// Any object of this library, by whose address the loader tells the library's file.
const char anchor = 0;

std::string find_library_folder() {
  Dl_info library;
  if (dladdr(&anchor, &library) == 0 || library.dli_fname == nullptr) return "";
  std::string file = kelvane::absolute_path(library.dli_fname);
  return file.substr(0, file.rfind('/') + 1);
}

bool is_file(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

std::string kelvane::absolute_path(const std::string& path) {
  std::error_code failure;
  std::string absolute = std::filesystem::absolute(path, failure).string();
  return failure ? path : absolute;
}

// Never destroyed: modules are loaded while the process ends, too.
const std::string& kelvane::library_folder() {
  static const std::string& folder = *new std::string(find_library_folder());
  return folder;
}

std::string kelvane::module_folders() {
  const char* configured = secure_getenv("KVMODULE_PATH");
  return (configured != nullptr ? configured + std::string(":") : "") +
         (library_folder().empty() ? "" : library_folder() + "kelvane");
}

std::string kelvane::find_module_file(std::string_view name) {
  std::string folders = module_folders();
  for (size_t begin = 0; begin < folders.size();) {
    size_t end = std::min(folders.find(':', begin), folders.size());
    std::string path = folders.substr(begin, end - begin).append("/").append(name);
    if (end > begin && is_file(path)) return path;
    begin = end + 1;
  }
  return "";
}

int KvModuleIsInstalled(const char* name) {
  if (name == nullptr) return 0;
  std::string_view wanted = name;
  return !wanted.empty() && wanted.find('/') == wanted.npos && !kelvane::find_module_file(wanted).empty();
}
