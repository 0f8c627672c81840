#include "impl/server/start_files.h"

#include <fcntl.h>
#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "impl/private_folder.h"
#include "impl/server/start_descriptor.h"

namespace impl {
namespace {

constexpr std::size_t path_size = 4096;
constexpr mode_t writable_by_others = S_IWGRP | S_IWOTH;

std::size_t length_of_variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? 0 : std::strlen(value);
}

// The function that knows the directory copies without a bound.
std::string core_data_name() {
  std::vector<char> room(path_size + length_of_variable("HOME") + length_of_variable("KVCORE_PRIVATE_DATA"));
  return KvICalculateProfessionalModeCoreDataDirectory(room.data()) == 1 ? std::string(room.data()) : std::string();
}

std::string identity_of(const struct stat& core_data) {
  char identity[64];
  std::snprintf(identity, sizeof identity, "%lx:%lld", static_cast<unsigned long>(core_data.st_dev),
                static_cast<long long>(core_data.st_ino));
  return identity;
}

std::string fail(std::string* out_reason, const std::string& reason) {
  *out_reason = reason;
  return "";
}

}  // namespace

Endpoint_Files machine_endpoint() {
  const std::string folder = std::string(KvTmpDir(0)) + "/kv";
  return {folder, folder + "/regss.pid", folder + "/regss"};
}

std::string private_core_data(std::string* out_reason) {
  std::string folder = core_data_name();
  if (folder.empty()) return fail(out_reason, "neither HOME nor KVCORE_PRIVATE_DATA is set");
  if (!make_private_folder(folder)) return fail(out_reason, folder + " cannot be made: " + std::strerror(errno));
  return folder;
}

bool user_endpoint(Endpoint_Files* out_files, std::string* out_reason) {
  const std::string core_data = private_core_data(out_reason);
  struct stat status;
  if (core_data.empty()) return false;
  if (stat(core_data.c_str(), &status) != 0) {
    *out_reason = core_data + ": " + std::strerror(errno);
    return false;
  }
  const std::string folder = KvTmpDir(0);
  const std::string stem = folder + "/regss" + identity_of(status);
  *out_files = {folder.empty() ? "/" : folder, stem + ".pid", stem};
  return true;
}

std::string port_in(const std::string& endpoint_file) {
  const Descriptor file(open(endpoint_file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status;
  if (!file || fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) return "";
  char name[path_size];
  const ssize_t size = read(file.number(), name, sizeof name);
  if (size <= 0 || size == static_cast<ssize_t>(sizeof name)) return "";
  const std::string all(name, static_cast<std::size_t>(size));
  return all.substr(0, all.find_first_of(std::string("\n\0", 2)));
}

std::string why_not_trusted(const std::string& folder, bool shared) {
  struct stat status;
  const int result = shared ? stat(folder.c_str(), &status) : lstat(folder.c_str(), &status);
  if (result != 0) return folder + ": " + std::strerror(errno);
  if (!S_ISDIR(status.st_mode)) return folder + " is no folder";
  if (status.st_uid != geteuid() && status.st_uid != 0)
    return folder + " belongs to user " + std::to_string(status.st_uid);
  const bool keeps_files_apart = shared && (status.st_mode & S_ISVTX) != 0;
  if ((status.st_mode & writable_by_others) != 0 && !keeps_files_apart)
    return folder + " can be written by other users";
  return "";
}

}  // namespace impl
