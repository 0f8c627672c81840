#include "impl/server/start_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "impl/endpoint/folder_state.h"
#include "impl/private_folder.h"
#include "impl/server/start_descriptor.h"

namespace impl {
namespace {

std::string fail(std::string* out_reason, const std::string& reason) {
  *out_reason = reason;
  return "";
}

}  // namespace

std::string private_core_data(std::string* out_reason) {
  std::string folder = core_data_name();
  if (folder.empty()) return fail(out_reason, "neither HOME nor KVCORE_PRIVATE_DATA is set");
  if (!make_private_folder(folder)) return fail(out_reason, folder + " cannot be made: " + std::strerror(errno));
  return folder;
}

bool user_endpoint(Endpoint_Files* out_files, std::string* out_reason) {
  const std::string core_data = private_core_data(out_reason);
  if (core_data.empty()) return false;
  if (user_endpoint_of(core_data, out_files)) return true;
  *out_reason = core_data + ": " + std::strerror(errno);
  return false;
}

std::string port_in(const std::string& endpoint_file) {
  const Descriptor file(open(endpoint_file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status;
  if (!file || fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) return "";
  return port_named_in(file.number());
}

std::string why_not_trusted(const std::string& folder, bool shared) {
  struct stat status;
  const int result = shared ? stat(folder.c_str(), &status) : lstat(folder.c_str(), &status);
  if (result != 0) return folder + ": " + std::strerror(errno);
  if (!S_ISDIR(status.st_mode)) return folder + " is no folder";
  if (status.st_uid != geteuid() && status.st_uid != 0)
    return folder + " belongs to user " + std::to_string(status.st_uid);
  if (is_writable_by_others(status) && !(shared && keeps_files_apart(status)))
    return folder + " can be written by other users";
  return "";
}

}  // namespace impl
