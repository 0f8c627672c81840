// Modules that are loaded already, by name, and the wide and closing forms.
#include <dlfcn.h>
#include <kelvane/text.h>
#include <link.h>
#include <winbase.h>
#include <winerror.h>

#include <string>
#include <vector>

#include "kernel32/module/loaded.h"
#include "kernel32/module/module_error.h"
#include "kernel32/module/windows_name.h"

namespace {

int add_name(dl_phdr_info* object, size_t, void* names) {
  static_cast<std::vector<std::string>*>(names)->push_back(object->dlpi_name);
  return 0;
}

// The loader's handle of an object that is loaded; null for any other file.
HMODULE handle_of(const char* file) {
  void* handle = dlopen(file, RTLD_LAZY | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return static_cast<HMODULE>(handle);
}

HMODULE find_loaded(const std::string& name) {
  std::vector<std::string> files;
  dl_iterate_phdr(add_name, &files);
  for (const std::string& file : files) {
    if (file.empty() || !kelvane::is_windows_name_of(name, file)) continue;
    if (HMODULE module = handle_of(file.c_str()); module != nullptr) return module;
  }
  dlerror();
  return nullptr;
}

}  // namespace

HMODULE WINAPI GetModuleHandleA(LPCSTR name) {
  HMODULE module = name == nullptr ? handle_of(nullptr) : find_loaded(name);
  if (module == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
  return module;
}

HMODULE WINAPI GetModuleHandleW(LPCWSTR name) {
  return GetModuleHandleA(name != nullptr ? static_cast<const char*>(KvAnsiString(name, -1)) : nullptr);
}

HMODULE WINAPI LoadLibraryW(LPCWSTR name) {
  return LoadLibraryA(name != nullptr ? static_cast<const char*>(KvAnsiString(name, -1)) : nullptr);
}

BOOL WINAPI FreeLibrary(HMODULE module) {
  if (kelvane::loaded_module(module) != nullptr) return TRUE;
  kelvane::fail_module(ERROR_MOD_NOT_FOUND, "not a loaded module");
  return FALSE;
}
