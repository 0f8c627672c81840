// Where backups of the registry lie, and the mask of registry files.

#include <kelvane/advapi32.h>
#include <kelvane/log.h>
#include <kelvane/process.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

inline namespace kelvane {
namespace {

constexpr int path_size = 4096;
constexpr char folder_name[] = "registry_backup";
constexpr char folder_variable[] = "KVREG_BACKUP_DIR";
constexpr int default_mask = 002;

void default_folder(char (&path)[path_size]) {
  const char* base = std::getenv("KVUSER_DIRECTORY");
  if (base == nullptr) base = KvTmpDir(0);
  const int length = std::snprintf(path, path_size, "%s/%s", base, folder_name);
  // QUIRK backup-dir-bound: a path of exactly 4096 characters is accepted and loses its last one.
  if (length <= path_size) return;
  RegLog().Output(0, "%s/%s path too long, set %s.\n", base, folder_name, folder_variable);
  KvExit(1);
}

void find_folder(char (&path)[path_size]) {
  const char* set = std::getenv(folder_variable);
  if (set == nullptr) return default_folder(path);
  std::strncpy(path, set, path_size - 1);
  path[path_size - 1] = '\0';
}

}  // namespace
}  // namespace kelvane

const char* KvGetRegistryBackupBaseName(void) { return "regss_backup.#"; }

int KvGetRegistryBackupDir(char* buffer, int* size) {
  if (size == nullptr) return 0;
  char path[path_size];
  find_folder(path);
  const int needed = static_cast<int>(std::strlen(path)) + 1;
  const bool fits = buffer == nullptr || *size >= needed;
  *size = needed;
  if (!fits) return 0;
  if (buffer != nullptr) std::memcpy(buffer, path, static_cast<std::size_t>(needed));
  return 1;
}

int get_kv_umask(void) {
  const char* text = std::getenv("KVREGUMASK");
  unsigned mask = default_mask;
  if (text != nullptr) std::sscanf(text, "%o", &mask);
  return static_cast<int>(mask);
}
