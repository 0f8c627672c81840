// KvGetUserWindowsDirectoryA: a directory that does not fit is not made.
#include <kelvane/process.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "kernel32/process/private_folder.h"

unsigned KvGetUserWindowsDirectoryA(char* directory, unsigned size) {
  const char* home = getenv("HOME");
  if (home == nullptr || *home == '\0' || directory == nullptr) return 0;
  std::string layer_folder = std::string(home) + "/.kv";
  std::string path = layer_folder + "/windows";
  if (path.size() >= size) return 0;
  if (!kelvane::make_private_folder(layer_folder) || !kelvane::make_private_folder(path)) return 0;
  memcpy(directory, path.c_str(), path.size() + 1);
  return static_cast<unsigned>(path.size());
}
