#include "tools/kvreg/hive_files.h"

#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <winerror.h>
#include <winreg.h>

#include <cstdlib>
#include <memory>

namespace kvreg {
namespace {

std::string machine_file() {
  if (KvGetRegistryMode() == KV_REGISTRY_CLIENT && std::getenv("KVREGISTRY") == nullptr) return {};
  char* user = nullptr;
  char* machine = nullptr;
  KvGetRegistryFileNames(&user, &machine);
  const std::unique_ptr<char[]> user_owned(user);
  const std::unique_ptr<char[]> machine_owned(machine);
  return machine != nullptr ? machine : "";
}

std::string live_user_hive() {
  if (KvGetRegistryMode() == KV_REGISTRY_CLIENT) return {};
  if (std::getenv("HOME") == nullptr && std::getenv("KVCORE_PRIVATE_DATA") == nullptr) return {};
  constexpr std::size_t longest_path = 4096;
  char folder[longest_path];
  if (KvICalculateCoreDataDirectory(folder) == 0) return {};
  return std::string(folder) + "/hkcu.hive";
}

bool speaks_of_file(DWORD code) {
  switch (code) {
    case ERROR_ACCESS_DENIED:
    case ERROR_DISK_FULL:
    case ERROR_BUSY:
    case ERROR_BADDB:
    case ERROR_REGISTRY_IO_FAILED:
    case ERROR_NOT_REGISTRY_FILE:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::string hive_file_of(const Key_Path& path) {
  if (!path.machine.empty()) return {};
  return path.root->handle == HKEY_CURRENT_USER ? live_user_hive() : machine_file();
}

std::string file_to_name(const Key_Path& path, DWORD code) {
  return speaks_of_file(code) ? hive_file_of(path) : std::string();
}

}  // namespace kvreg
