// The user's own registry lies in "$HOME/.kv/registry", without HOME in "kv-<uid>/registry" of the temporary
// directory. A home that cannot be written is no error here: the store reports it when it is opened.
#include "kernel32/process/default_registry.h"

#include <kelvane/process.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "kernel32/process/private_folder.h"

namespace {

constexpr int fatal_status = 255;

// The layer's folder of this user, made when it is missing.
std::string user_folder() {
  const char* home = getenv("HOME");
  if (home != nullptr && *home != '\0') {
    std::string folder = std::string(home) + "/.kv";
    kelvane::make_private_folder(folder);
    return folder;
  }
  std::string folder = std::string(KvTmpDir(0)) + "/kv-" + std::to_string(geteuid());
  if (!kelvane::make_private_folder_among_others(folder)) {
    KvConsoleMessage("Fatal Error: \"%s\" is no private folder of this user; set HOME or KVREGISTRY.\n",
                     folder.c_str());
    Kv_Exit(fatal_status);
  }
  return folder;
}

// Asked before anything is made.
void refuse_colon(const char* folder) {
  if (folder == nullptr || std::string(folder).find(':') == std::string::npos) return;
  KvConsoleMessage(
      "Fatal Error: the default registry would lie in \"%s\", whose colon KVREGISTRY cannot carry; set KVREGISTRY to "
      "another file.\n",
      folder);
  Kv_Exit(fatal_status);
}

}  // namespace

void kelvane::set_default_registry() {
  const char* home = getenv("HOME");
  refuse_colon(home != nullptr && *home != '\0' ? home : KvTmpDir(0));
  std::string folder = user_folder() + "/registry";
  make_private_folder(folder);
  setenv("KVREGISTRY", (folder + "/hklm.bin").c_str(), 1);
}
