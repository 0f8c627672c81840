// The name under which a module is registered.

#include <kelvane/advapi32.h>
#include <kelvane/atom.h>
#include <kelvane/module.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "registry/array.h"

inline namespace kelvane {
namespace {

constexpr DWORD path_size = 4096;

bool query_full_paths() {
  BYTE data[path_size];
  DWORD size = path_size;
  if (RegQueryValueExA(HKEY_LOCAL_MACHINE, "register-full-paths", nullptr, nullptr, data, &size) != ERROR_SUCCESS)
    return true;
  data[std::min<DWORD>(size, path_size - 1)] = '\0';
  // Never destroyed: the question may be asked while the process ends.
  static const clAtom& truth = *new clAtom("true");
  return atom_cmp(reinterpret_cast<const char*>(data), truth.text()) == 0;
}

// Decided once. The registry is asked outside any lock: a thread that is parked there holds nobody up.
bool wants_full_paths() {
  enum { undecided = -1 };
  static std::atomic<int> decision{undecided};
  int full = decision.load(std::memory_order_acquire);
  if (full != undecided) return full != 0;
  const int answer = query_full_paths() ? 1 : 0;
  full = undecided;
  return (decision.compare_exchange_strong(full, answer) ? answer : full) != 0;
}

const char* behind_last_slash(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash != nullptr ? slash + 1 : path;
}

int copy_name(const char* text, char* name, int size) {
  const int count = std::min<int>(static_cast<int>(std::strlen(text)) + 1, size);
  std::memcpy(name, text, static_cast<std::size_t>(count));
  return count;
}

int short_name(HMODULE module, char* name, int size) {
  const char* program = KvGetInstanceProgramName(module);
  char path[path_size];
  if (GetModuleFileNameA(module, path, path_size) == 0) return 0;
  const char* file = behind_last_slash(path);
  if (std::strncmp(file, program, std::strlen(program)) == 0) return copy_name(file, name, size);
  char library[path_size];
  std::snprintf(library, sizeof library, "%s.dll", program);
  return copy_name(library, name, size);
}

}  // namespace
}  // namespace kelvane

int AdvGetModuleDLLName(HMODULE module, char* name, int size) {
  const bool full = wants_full_paths();
  if (size <= 0) return 0;
  if (full) return static_cast<int>(GetModuleFileNameA(module, name, static_cast<DWORD>(size)));
  return short_name(module, name, size);
}

int AdvGetModuleDLLNameW(HMODULE module, wchar_t* name, unsigned size) {
  Array<char> narrow(size);
  std::memset(narrow.data(), 0, size);
  const int result = AdvGetModuleDLLName(module, narrow.data(), static_cast<int>(size));
  MultiByteToWideChar(CP_ACP, 0, narrow.data(), static_cast<int>(size), name, static_cast<int>(size));
  return result;
}
