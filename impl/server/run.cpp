#include "impl/server/run.h"

#include <winbase.h>

#include <new>

#include "hive/registry.h"
#include "impl/server/server.h"

namespace {

using Hosted_Registry = hive::Registry* (*)(int machine_wide);

// Of the library that serves the registry inside this process: there is one store in a process.
hive::Registry* hosted_registry(bool machine_wide) {
  const HMODULE library = LoadLibraryA("advapi32impl.dll");
  if (library == nullptr) return nullptr;
  void* const entry = reinterpret_cast<void*>(GetProcAddress(library, "KvIHostedRegistry"));
  return entry == nullptr ? nullptr : reinterpret_cast<Hosted_Registry>(entry)(machine_wide ? 1 : 0);
}

}  // namespace

extern "C" int KvRegssRun(const Regss_Options* options) {
  hive::Registry* const registry = hosted_registry(options->machine_wide != 0);
  if (registry == nullptr) {
    if (options->say != nullptr) options->say(options->context, "advapi32impl.dll is not there, or of another version");
    return 1;
  }
  try {
    return impl::server::Server(*registry, *options).run();
  } catch (const std::bad_alloc&) {
    if (options->say != nullptr) options->say(options->context, "There is no memory left");
    return 1;
  }
}
