#include "impl/client/endpoint.h"

#include <fcntl.h>
#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "impl/endpoint/endpoint_files.h"
#include "impl/endpoint/folder_state.h"
#include "impl/endpoint/port_address.h"
#include "impl/wire/unique_fd.h"

namespace impl::client {
namespace {

using wire::Unique_Fd;

constexpr const char* machine_settings = "/etc/kelvane.conf";

// The folder that the machine's settings name, or "".
std::string machine_core_data() {
  constexpr std::size_t longest_line = 1024;
  char folder[longest_line] = "";
  return access(machine_settings, R_OK) == 0 && KvICalculateCoreDataDirectory(folder) == 1 ? folder : "";
}

// The folder of core data, or "": asked for only when asking does not end the process and tells nothing.
std::string core_data_folder() {
  if (KvIsProfessionalRegistryMode() == 0) return machine_core_data();
  const bool is_named = std::getenv("HOME") != nullptr || std::getenv("KVCORE_PRIVATE_DATA") != nullptr;
  return is_named ? core_data_name() : "";
}

std::optional<struct stat> state_of(const std::string& file) {
  struct stat found;
  if (file.empty() || stat(file.c_str(), &found) != 0) return std::nullopt;
  return found;
}

bool is_trusted(uid_t user) {
  if (user == 0 || user == geteuid()) return true;
  const std::optional<struct stat> core_data = state_of(core_data_folder());
  return core_data && core_data->st_uid == user;
}

Meeting refused(std::string trouble) {
  Meeting none;
  none.trouble = std::move(trouble);
  return none;
}

// What may have changed at the next attempt: a server that is just starting, ending or very busy.
Meeting absent(std::string trouble, int error) {
  Meeting none;
  none.trouble = std::move(trouble) + ": " + std::strerror(error);
  none.may_come = error == ENOENT || error == ECONNREFUSED || error == EAGAIN || error == EINTR;
  return none;
}

std::string folder_of(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  return slash == file.npos ? "." : slash == 0 ? "/" : file.substr(0, slash);
}

std::string name_in_folder(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  return slash == file.npos ? file : file.substr(slash + 1);
}

// "" or why the folder is not to be trusted.
std::string fault_of_folder(const struct stat& folder, const struct stat& file) {
  if (!is_trusted(folder.st_uid)) return " lies in a folder of another user";
  if (!is_writable_by_others(folder)) return "";
  if (!keeps_files_apart(folder)) return " lies in a folder that others may write to";
  return is_trusted(file.st_uid) && !is_writable_by_others(file) ? "" : " may be another user's";
}

Meeting meet_at(const std::string& port) {
  Meeting meeting;
  meeting.socket = Own_Socket(port_socket());
  if (!meeting.socket.is_open()) return absent("no socket", errno);
  if (!connect_socket(meeting.socket.fd(), port)) return absent(port, errno);
  const std::optional<uid_t> user = user_at(meeting.socket.fd());
  if (!user) return absent(port, errno);
  if (!is_trusted(*user)) return refused("user " + std::to_string(*user) + " answers at " + port);
  return meeting;
}

}  // namespace

std::string endpoint_file() {
  if (KvIsProfessionalRegistryMode() == 0) return machine_endpoint().endpoint_file;
  Endpoint_Files files;
  const std::string core_data = core_data_folder();
  return !core_data.empty() && user_endpoint_of(core_data, &files) ? files.endpoint_file : "";
}

const char* start_command() { return KvIsProfessionalRegistryMode() == 0 ? "regss --machine" : "regss --user"; }

Meeting meet_server(const std::string& file) {
  if (file.empty()) return refused("there is no folder of core data");
  const Unique_Fd folder(open(folder_of(file).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return absent(file, errno);
  const Unique_Fd endpoint(
      openat(folder.get(), name_in_folder(file).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!endpoint) return absent(file, errno);
  struct stat folder_state, file_state;
  if (fstat(folder.get(), &folder_state) != 0 || fstat(endpoint.get(), &file_state) != 0) return absent(file, errno);
  if (!S_ISREG(file_state.st_mode)) return refused(file + " is no file");
  const std::string fault = fault_of_folder(folder_state, file_state);
  if (!fault.empty()) return refused(file + fault);
  const std::string port = port_named_in(endpoint.get());
  return port.empty() ? absent(file + " names no port", ENOENT) : meet_at(port);
}

}  // namespace impl::client
