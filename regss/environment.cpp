#include "regss/environment.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace regss {
namespace {

constexpr char hosting_mode[] = "2";
constexpr mode_t private_folder_mode = 0700;

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

void set(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

std::string absolute(const std::string& path) {
  if (path.empty()) return path;
  std::error_code failure;
  const std::string whole = std::filesystem::absolute(path, failure).string();
  return failure ? path : whole;
}

void make_absolute(const char* name) {
  const std::string value = variable(name);
  if (!value.empty()) set(name, absolute(value));
}

bool make_private_folder(const std::string& folder, std::string* out_reason) {
  if (mkdir(folder.c_str(), private_folder_mode) == 0) {
    chmod(folder.c_str(), private_folder_mode);
    return true;
  }
  struct stat status;
  if (errno == EEXIST && stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return true;
  *out_reason = folder + " cannot be made: " + std::strerror(errno);
  return false;
}

bool refuse_colon(const std::string& path, std::string* out_reason) {
  if (path.find(':') == path.npos) return true;
  *out_reason = path + " has a colon, which KVREGISTRY cannot carry";
  return false;
}

// The image of a user's hive and the live hive of the server's own user are not used; what asks for them must not meet
// the files of a program that the same user runs.
bool name_machine_hives(const Options& options, const Settings& settings, std::string* out_reason) {
  if (settings.core_data.empty()) {
    *out_reason = settings_file(options) + " has no line CORE_DATA=<folder>; say --core-data";
    return false;
  }
  const std::string core_data = absolute(settings.core_data);
  const std::string folder = core_data + "/registry";
  if (!refuse_colon(folder, out_reason) || !make_private_folder(folder, out_reason)) return false;
  set("KVREGISTRY", folder + "/hklm.bin:" + folder + "/hkcu.bin");
  set("KVCORE_PRIVATE_DATA", core_data);
  return true;
}

void make_registry_absolute() {
  const std::string registry = variable("KVREGISTRY");
  const std::size_t colon = registry.find(':');
  std::string machine = absolute(registry.substr(0, colon));
  if (colon != registry.npos) {
    const std::string user = registry.substr(colon + 1);
    const bool is_nil = user.find_first_not_of(" \t\n\v\f\r") == user.npos;
    machine += ":" + (is_nil ? user : absolute(user));
  }
  set("KVREGISTRY", machine);
}

// As a program without settings has it.
bool name_default_hives(std::string* out_reason) {
  const std::string home = variable("HOME");
  if (home.empty()) {
    *out_reason = "neither KVREGISTRY nor HOME is set";
    return false;
  }
  const std::string layer = absolute(home) + "/.kv";
  const std::string folder = layer + "/registry";
  if (!refuse_colon(folder, out_reason)) return false;
  if (!make_private_folder(layer, out_reason) || !make_private_folder(folder, out_reason)) return false;
  set("KVREGISTRY", folder + "/hklm.bin");
  return true;
}

}  // namespace

bool set_environment(const Options& options, const Settings& settings, std::string* out_reason) {
  set("KVREGISTRY_MODE", hosting_mode);
  unsetenv("KVADM_UTILITY");
  for (const char* name : {"HOME", "TMPDIR", "KVCORE_PRIVATE_DATA"}) make_absolute(name);
  if (options.machine_wide) return name_machine_hives(options, settings, out_reason);
  if (std::getenv("KVREGISTRY") == nullptr) return name_default_hives(out_reason);
  make_registry_absolute();
  return true;
}

}  // namespace regss
