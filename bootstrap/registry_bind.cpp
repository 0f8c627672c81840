// The registry of this process: bound to the implementation that its mode asks for, and closed once.

#include <kelvane/advapi32.h>
#include <kelvane/log.h>
#include <kelvane/process.h>
#include <kelvane/registry_ops.h>

#include <new>

#include "bootstrap/registry_table.h"
#include "registry/hkcu_file.h"

unsigned char KvRegistryIsInitialized = 0;
int KvRegistryClosed = 0;

inline namespace kelvane {
namespace {

constexpr char client_library[] = "advapi32client.dll";
constexpr char in_process_library[] = "advapi32impl.dll";
constexpr char server_library[] = "advapi32server.dll";

// How the base library reaches the registry.
class RegistryOperations final : public RegistryOps {
 public:
  // At the end of the process there is nobody to hear of it otherwise.
  int Close() override {
    try {
      RegUxClose(0, 0);
    } catch (const std::bad_alloc&) {
      KvConsoleMessage("There is no memory to write the HKCU file: the user's hive alone holds the changes.\n");
    }
    return 0;
  }
  int CloseKey(void* key) override { return RegCloseKey(static_cast<HKEY>(key)); }
};

void bind(const char* library) {
  HMODULE module = LoadLibraryA(library);
  KvRegInitializeWrappers(module, library);
  if (module != nullptr) slot<Slot::KvIOnLoadDll>();
}

void bind_for_mode(unsigned mode) {
  switch (mode) {
    case KV_REGISTRY_CLIENT:
      bind(client_library);
      break;
    case KV_REGISTRY_IN_PROCESS:
      bind(in_process_library);
      break;
    case KV_REGISTRY_HOST:
      bind(in_process_library);
      LoadLibraryA(server_library);
      break;
    case KV_REGISTRY_SERVER:
      bind(server_library);
      bind(client_library);
      break;
    default:
      break;
  }
}

void save_user_hive(BYTE* image, int size) {
  char* user_file = nullptr;
  char* machine_file = nullptr;
  // The names stay allocated: the process is ending.
  KvGetRegistryFileNames(&user_file, &machine_file);
  if (KvWriteHKCUFile(user_file, image, size) != ERROR_DISK_FULL) return;
  RegLog().Output(0,
                  "Failed to write HKCU file to disc: the device is full.\n"
                  "The changes made to the HKEY_CURRENT_USER in this session have been lost.\n");
}

}  // namespace
}  // namespace kelvane

void KelvaneInitializeRegistry(void) {
  bind_for_mode(KvGetRegistryMode());
  registry_ops = new RegistryOperations;
  KvRegistryIsInitialized = 1;
}

void KvRegInitializeWrappers(void* library, const char* library_name) {
  if (library == nullptr) {
    RegLog().Output(0, "Could not load library %s. There is a problem with your Kelvane installation.\n", library_name);
    KvExit(1);
    return;
  }
  for (int i = 0; i < KV_SLOT_COUNT; ++i) {
    KvIRegFunction& row = KvIRegFunctions[i];
    row.entry = reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), row.name));
    if (row.entry != nullptr) continue;
    RegLog().Output(0,
                    "The symbol %s is not defined in library %s.\n"
                    "There is a problem with your installation of Kelvane.\n",
                    row.name, library_name);
    KvExit(1);
  }
}

int KvRegistryIsAlive(void) {
  if (KvRegistryIsInitialized == 0 || registry_ops == nullptr) return 0;
  return __atomic_load_n(&KvRegistryClosed, __ATOMIC_RELAXED) == 0 ? 1 : 0;
}

void RegUxClose(uintptr_t first, uintptr_t second) {
  KvDllNoMoreMalloc(first, second);
  KvRegistryIsInitialized = 0;
  __atomic_store_n(&KvRegistryClosed, 1, __ATOMIC_RELEASE);
  BYTE* image = nullptr;
  int size = 0;
  // Nothing is bound in a mode of the program's own.
  if (!is_bound(Slot::KvIRegProcessEnding)) return;
  const DWORD ended = slot<Slot::KvIRegProcessEnding>(&image, &size, 0);
  if (ended == ERROR_SUCCESS && size != 0) save_user_hive(image, size);
  delete[] image;
}
