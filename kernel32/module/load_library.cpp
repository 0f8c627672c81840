// LoadLibraryA: the first file of the name decides. A file that is there and does not load is the failure
// itself; no other file of that name is tried in its place. The layer's own libraries answer to their Windows
// names.
#include <dlfcn.h>
#include <winbase.h>
#include <winerror.h>

#include <string>

#include "kernel32/module/loaded.h"
#include "kernel32/module/module_error.h"
#include "kernel32/module/search.h"
#include "kernel32/module/windows_name.h"

namespace {

// What the loader is to open: a path with "/", or the bare name for its own search.
std::string file_to_load(const std::string& name) {
  if (name.find('/') != name.npos) return kelvane::absolute_path(name);
  std::string found = kelvane::find_module_file(name);
  if (found.empty() && name.find('.') == name.npos) found = kelvane::find_module_file(name + ".dll");
  if (!found.empty()) return kelvane::absolute_path(found);
  std::string own = kelvane::own_library(name);
  return own.empty() ? name : own;
}

std::string why_not_loaded(const std::string& file) {
  std::string reason = kelvane::loader_error();
  if (file.find('/') == file.npos) reason += " (searched: " + kelvane::module_folders() + ")";
  return reason;
}

}  // namespace

HMODULE WINAPI LoadLibraryA(LPCSTR name) {
  if (name == nullptr || *name == '\0') {
    kelvane::fail_module(ERROR_MOD_NOT_FOUND, "no module name");
    return nullptr;
  }
  std::string file = file_to_load(name);
  void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    kelvane::fail_module(ERROR_MOD_NOT_FOUND, why_not_loaded(file));
    return nullptr;
  }
  kelvane::remember_module(handle);
  kelvane::clear_module_error();
  return static_cast<HMODULE>(handle);
}
