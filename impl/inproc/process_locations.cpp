// Asks libadvapi32's exported functions, each of which may print and end the process.
#include "impl/inproc/process_locations.h"

#include <kelvane/advapi32.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "impl/private_folder.h"

namespace impl {
namespace {

constexpr const char* user_hive_name = "/hkcu.hive";
constexpr const char* users_hive_name = "users";

std::atomic<bool> for_all_users{false};

// A name that libadvapi32 has made and handed over. While its allocations come from the system's heap the
// name is released here; later ones are not to be released by anyone.
class Handed_Name {
 public:
  Handed_Name() : releasable_(KvSafeToUseMalloc() != 0) {}
  ~Handed_Name() {
    if (releasable_) delete[] name_;
  }
  Handed_Name(const Handed_Name&) = delete;
  Handed_Name& operator=(const Handed_Name&) = delete;

  char** out() { return &name_; }
  std::string text() const { return name_ == nullptr ? std::string() : std::string(name_); }

 private:
  bool releasable_;
  char* name_ = nullptr;
};

std::size_t length_of_variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? 0 : std::strlen(value);
}

// A program may change its folder while it runs; its hives stay where they were at their first use.
std::string absolute(const std::string& file) {
  if (file.empty()) return file;
  std::error_code failure;
  const std::string whole = std::filesystem::absolute(file, failure).string();
  return failure ? file : whole;
}

// The folder of this host's core data, or "" when there is none.
std::string core_data_folder() {
  constexpr std::size_t room_beside_variables = 4096;
  std::vector<char> folder(room_beside_variables + length_of_variable("HOME") +
                           length_of_variable("KVCORE_PRIVATE_DATA"));
  return KvICalculateCoreDataDirectory(folder.data()) == 1 ? std::string(folder.data()) : std::string();
}

}  // namespace

void serve_all_users() { for_all_users = true; }

// Asked also by processes that need no folder: without anything that names one they are not told so.
std::string core_data(bool make) {
  if (std::getenv("HOME") == nullptr && std::getenv("KVCORE_PRIVATE_DATA") == nullptr) return "";
  const std::string folder = core_data_folder();
  if (folder.empty() || (make && !make_private_folder(folder))) return "";
  return absolute(folder);
}

std::string Process_Locations::machine_hive() {
  Handed_Name user, machine;
  KvGetRegistryFileNames(user.out(), machine.out());
  return absolute(machine.text());
}

std::string Process_Locations::user_image() {
  Handed_Name user, machine;
  KvGetRegistryFileNames(user.out(), machine.out());
  return absolute(user.text());
}

std::string Process_Locations::user_hive() {
  const std::string folder = core_data_folder();
  if (folder.empty()) return "";
  if (!make_private_folder(folder)) {
    complain_(folder + " cannot be made; HKEY_CURRENT_USER lasts only as long as this process");
    return "";
  }
  return absolute(folder + user_hive_name);
}

bool Process_Locations::serves_all_users() { return for_all_users; }

std::string Process_Locations::users_hive() {
  const std::string machine = machine_hive();
  return machine.empty() ? machine : machine.substr(0, machine.rfind('/') + 1) + users_hive_name;
}

mode_t Process_Locations::machine_mask() { return static_cast<mode_t>(get_kv_umask()); }

}  // namespace impl
