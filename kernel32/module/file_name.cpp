// GetModuleFileNameA. Without /proc the program's file is the one that the system was asked to run.
#include "kernel32/module/file_name.h"

#include <limits.h>
#include <link.h>
#include <sys/auxv.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>

#include <algorithm>
#include <cstring>

#include "kernel32/module/loaded.h"
#include "kernel32/module/search.h"

std::string kelvane::program_file() {
  char path[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length > 0) return std::string(path, static_cast<size_t>(length));
  const char* started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
  return started != nullptr ? absolute_path(started) : "";
}

std::string kelvane::module_file(HMODULE module) {
  if (module == nullptr) return program_file();
  const link_map* record = loaded_module(module);
  if (record == nullptr) return "";
  // The loader's record of the program has no name.
  return *record->l_name == '\0' ? program_file() : absolute_path(record->l_name);
}

DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size) {
  std::string file = kelvane::module_file(module);
  if (file.empty()) SetLastError(ERROR_INVALID_HANDLE);
  if (file.empty() || path == nullptr || size == 0) return 0;
  size_t length = std::min<size_t>(file.size(), size - 1);
  memcpy(path, file.data(), length);
  path[length] = '\0';
  if (length == file.size()) return static_cast<DWORD>(length);
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return size;
}
