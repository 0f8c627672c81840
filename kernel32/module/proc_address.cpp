// GetProcAddress: the loader also looks into the libraries that a module leans on, so a symbol counts only when
// its address lies in the module itself.
#include <dlfcn.h>
#include <link.h>
#include <winbase.h>
#include <winerror.h>

#include <string>

#include "kernel32/module/loaded.h"
#include "kernel32/module/module_error.h"

namespace {

bool lies_in(const void* address, const link_map* module) {
  Dl_info object;
  link_map* record = nullptr;
  return dladdr1(address, &object, reinterpret_cast<void**>(&record), RTLD_DL_LINKMAP) != 0 && record == module;
}

// Published callers may give an ordinal in place of a name; no module here has ordinals.
bool is_name(LPCSTR name) { return reinterpret_cast<uintptr_t>(name) > 0xFFFF; }

FARPROC not_found(const std::string& reason) {
  kelvane::fail_module(ERROR_PROC_NOT_FOUND, reason);
  return nullptr;
}

}  // namespace

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) {
  const link_map* record = kelvane::loaded_module(module);
  if (record == nullptr) return not_found("not a loaded module");
  if (!is_name(name)) return not_found("not a symbol name");
  void* address = dlsym(module, name);
  if (address == nullptr || !lies_in(address, record)) {
    return not_found(std::string(record->l_name) + ": does not define " + name);
  }
  kelvane::clear_module_error();
  return reinterpret_cast<FARPROC>(address);
}
