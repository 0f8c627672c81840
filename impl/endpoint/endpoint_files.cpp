#include "impl/endpoint/endpoint_files.h"

#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace impl {
namespace {

constexpr std::size_t path_size = 4096;

std::size_t length_of_variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? 0 : std::strlen(value);
}

std::string identity_of(const struct stat& core_data) {
  char identity[64];
  std::snprintf(identity, sizeof identity, "%lx:%lld", static_cast<unsigned long>(core_data.st_dev),
                static_cast<long long>(core_data.st_ino));
  return identity;
}

}  // namespace

Endpoint_Files machine_endpoint() {
  const std::string folder = std::string(KvTmpDir(0)) + "/kv";
  return {folder, folder + "/regss.pid", folder + "/regss"};
}

bool user_endpoint_of(const std::string& core_data, Endpoint_Files* out_files) {
  struct stat found;
  if (stat(core_data.c_str(), &found) != 0) return false;
  const std::string folder = KvTmpDir(0);
  const std::string stem = folder + "/regss" + identity_of(found);
  *out_files = {folder.empty() ? "/" : folder, stem + ".pid", stem};
  return true;
}

// The function that knows the folder copies without a bound.
std::string core_data_name() {
  std::vector<char> room(path_size + length_of_variable("HOME") + length_of_variable("KVCORE_PRIVATE_DATA"));
  return KvICalculateProfessionalModeCoreDataDirectory(room.data()) == 1 ? std::string(room.data()) : std::string();
}

std::string port_named_in(int endpoint_file) {
  char name[path_size];
  const ssize_t size = read(endpoint_file, name, sizeof name);
  if (size <= 0) return "";
  const std::string all(name, static_cast<std::size_t>(size));
  const std::size_t end = all.find_first_of(std::string("\n\0", 2));
  return end == all.npos && all.size() == path_size ? "" : all.substr(0, end);
}

}  // namespace impl
