// The loader would read through a bad handle, so a handle is first looked up: in the list of those that we gave
// out, which only grows and needs no lock, and else among all loaded objects, for a handle of the program's own
// dlopen.
#include "kernel32/module/loaded.h"

#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <string>
#include <vector>

namespace {

struct Given_Module {
  void* handle;
  const Given_Module* next;
};

std::atomic<const Given_Module*> given_modules;

bool was_given_out(const void* handle) {
  for (const Given_Module* given = given_modules.load(); given != nullptr; given = given->next) {
    if (given->handle == handle) return true;
  }
  return false;
}

int add_name(dl_phdr_info* object, size_t, void* names) {
  static_cast<std::vector<std::string>*>(names)->push_back(object->dlpi_name);
  return 0;
}

// The names first, the handles afterwards: the loader's lock is not ours while we call it again. The program
// itself has the empty name.
bool is_loaded(const void* handle) {
  std::vector<std::string> names;
  dl_iterate_phdr(add_name, &names);
  for (const std::string& name : names) {
    void* object = dlopen(name.empty() ? nullptr : name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (object != nullptr) dlclose(object);
    if (object == handle && object != nullptr) return true;
  }
  dlerror();
  return false;
}

}  // namespace

void kelvane::remember_module(void* handle) {
  if (was_given_out(handle)) return;
  Given_Module* given = new Given_Module{handle, given_modules.load()};
  while (!given_modules.compare_exchange_weak(given->next, given)) {
  }
}

const link_map* kelvane::loaded_module(HMODULE module) {
  if (module == nullptr || (!was_given_out(module) && !is_loaded(module))) return nullptr;
  link_map* record = nullptr;
  return dlinfo(module, RTLD_DI_LINKMAP, &record) == 0 ? record : nullptr;
}
