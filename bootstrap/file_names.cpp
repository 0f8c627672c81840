// The names of the machine's and the user's hive files, from KVREGISTRY:
//
//   KVREGISTRY = machine-file [ ":" per-user-file ]
//
// The first colon splits; a per-user part of nothing but white space counts as none.

#include <kelvane/advapi32.h>
#include <kelvane/process.h>

#include <cctype>
#include <cstdlib>
#include <cstring>

inline namespace kelvane {
namespace {

constexpr unsigned path_size = 4096;
constexpr char hive_name[] = "/hkcu.bin";
constexpr int configuration_error = 255;

bool is_nil(const char* name) {
  if (name == nullptr) return true;
  while (std::isspace(static_cast<unsigned char>(*name)) != 0) ++name;
  return *name == '\0';
}

// A copy made with operator new[], which the caller of the exported function owns.
char* copy_of(const char* text, std::size_t length) {
  char* copy = new char[length + 1];
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

char* copy_of(const char* text) { return copy_of(text, std::strlen(text)); }

char* default_per_user_file() {
  char path[path_size + sizeof hive_name];
  const unsigned length = KvGetUserWindowsDirectoryA(path, path_size);
  if (length > 0) {
    std::memcpy(path + length, hive_name, sizeof hive_name);
    return copy_of(path);
  }
  char* unique = Kv_tempnam(nullptr, "hku");
  char* copy = copy_of(unique != nullptr ? unique : "");
  std::free(unique);
  return copy;
}

void fail(const char* message) {
  KvConsoleMessage("%s", message);
  Kv_Exit(configuration_error);
}

}  // namespace
}  // namespace kelvane

int is_nil_file(const char* name) { return is_nil(name) ? 1 : 0; }

void KvGetRegistryFileNames(char** out_per_user_file, char** out_machine_file) {
  const bool professional = KvGetRegistryMode() != 0;
  char* per_user_file = default_per_user_file();
  char* machine_file = nullptr;
  const char* setting = std::getenv("KVREGISTRY");
  if (setting == nullptr) {
    if (professional) fail("Fatal Error: environment variable KVREGISTRY is not defined !!!\n");
  } else {
    const char* colon = std::strchr(setting, ':');
    machine_file = colon != nullptr ? copy_of(setting, static_cast<std::size_t>(colon - setting)) : copy_of(setting);
    if (professional && is_nil(machine_file))
      fail("Fatal Error: HKEY_LOCAL_MACHINE is not defined by KVREGISTRY environment variable !!!\n");
    if (colon != nullptr && !is_nil(colon + 1)) {
      delete[] per_user_file;
      per_user_file = copy_of(colon + 1);
    }
  }
  *out_per_user_file = per_user_file;
  *out_machine_file = machine_file;
}
