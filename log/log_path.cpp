// The folder that a log file lies in.

#include "log/log_path.h"

#include <sys/stat.h>

#include <cstring>

inline namespace kelvane {

void insure_dir(const char* path) {
  constexpr mode_t folder_mode = 0755;
  const char* const slash = std::strrchr(path, '/');
  if (slash == nullptr) return;
  const auto length = static_cast<std::size_t>(slash - path);
  if (length + 1 >= log_path_size) return;
  char folder[log_path_size];
  std::memcpy(folder, path, length);
  folder[length] = '\0';
  mkdir(folder, folder_mode);
  // QUIRK log-folder-mode: a folder that was there before gets the mode too.
  chmod(folder, folder_mode);
}

}  // namespace kelvane
