#include "tools/kvreg/process_facts.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

#include "tools/kvreg/number.h"

namespace kvreg {
namespace {

constexpr int longest_path = 4096 + 1;

std::string file_content(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// A variable as the program was started with it: the library sets some itself.
std::optional<std::string> given_variable(const std::string& name) {
  const std::string all = '\0' + file_content("/proc/self/environ");
  const std::string wanted = '\0' + name + "=";
  const std::size_t at = all.find(wanted);
  if (at == all.npos) return std::nullopt;
  const std::size_t start = at + wanted.size();
  return all.substr(start, all.find('\0', start) - start);
}

std::string core_data_folder() {
  if (KvGetRegistryMode() == KV_REGISTRY_CLIENT && !std::ifstream("/etc/kelvane.conf")) return {};
  if (std::getenv("HOME") == nullptr && std::getenv("KVCORE_PRIVATE_DATA") == nullptr) return {};
  char folder[longest_path];
  return KvICalculateCoreDataDirectory(folder) != 0 ? folder : std::string();
}

std::string pid_file() {
  const std::string base = KvTmpDir(0);
  if (KvGetRegistryMode() == KV_REGISTRY_CLIENT) return base + "/kv/regss.pid";
  struct stat folder {};
  if (stat(core_data_folder().c_str(), &folder) != 0) return {};
  char id[48];
  std::snprintf(id, sizeof id, "%lx:%lld", static_cast<unsigned long>(folder.st_dev),
                static_cast<long long>(folder.st_ino));
  return base + "/regss" + id + ".pid";
}

}  // namespace

std::string name_of_mode() {
  const unsigned mode = KvGetRegistryMode();
  const char* const names[] = {"client of the machine's registry server", "in this process",
                               "in this process, which serves others too", "client of the user's registry server"};
  return std::to_string(mode) + (mode < std::size(names) ? std::string(", ") + names[mode] : "");
}

std::string reason_of_mode() {
  if (const auto mode = given_variable("KVREGISTRY_MODE")) return "KVREGISTRY_MODE is \"" + *mode + "\"";
  if (const auto files = given_variable("KVREGISTRY")) return "KVREGISTRY is \"" + *files + "\"";
  if (KvGetRegistryMode() == KV_REGISTRY_CLIENT) return "/etc/kelvane.conf is there, and so is advapi32client.dll";
  return "nothing says otherwise: no KVREGISTRY_MODE, no KVREGISTRY, no server of the machine";
}

std::string server_facts() {
  const std::string file = pid_file();
  const std::optional<std::uint64_t> pid = file.empty() ? std::nullopt : parse_number(file_content(file));
  if (!pid || *pid == 0 || *pid > 0x7FFFFFFF) return "none";
  const bool runs = kill(static_cast<pid_t>(*pid), 0) == 0 || errno == EPERM;
  return (runs ? "process " : "gone: process ") + std::to_string(*pid) + " (" + file + ")";
}

std::string user_image_file() {
  if (KvGetRegistryMode() == KV_REGISTRY_CLIENT && std::getenv("KVREGISTRY") == nullptr) return "only the server knows";
  char* user = nullptr;
  char* machine = nullptr;
  KvGetRegistryFileNames(&user, &machine);
  const std::unique_ptr<char[]> user_owned(user);
  const std::unique_ptr<char[]> machine_owned(machine);
  return user != nullptr ? user : "none";
}

std::string usual_backup_folder() {
  char folder[longest_path];
  int size = longest_path;
  return KvGetRegistryBackupDir(folder, &size) != 0 ? folder : "its name is too long";
}

std::string file_of_address(const void* address) {
  Dl_info found;
  return address != nullptr && dladdr(address, &found) != 0 ? found.dli_fname : "none";
}

std::string name_of_code_page() {
  for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value != nullptr && *value != '\0') return std::string(name) + "=" + value;
  }
  return "UTF-8";
}

std::string version_of_hive(const std::string& file) {
  constexpr std::size_t version_at = 60, id_at = 68, head_size = 72;
  char head[head_size] = {};
  std::ifstream in(file, std::ios::binary);
  if (!in.read(head, sizeof head)) return "cannot be read, or is empty";
  const auto number_at = [&](std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = at; i < at + 4; ++i) number = number << 8 | static_cast<unsigned char>(head[i]);
    return number;
  };
  constexpr std::uint32_t id_of_hives = 0x4B564856;
  return number_at(id_at) == id_of_hives ? "hive of version " + std::to_string(number_at(version_at)) : "no hive";
}

}  // namespace kvreg
