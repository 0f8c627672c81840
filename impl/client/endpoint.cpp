#include "impl/client/endpoint.h"

#include <fcntl.h>
#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "impl/wire/unique_fd.h"

namespace impl::client {
namespace {

using wire::Unique_Fd;

constexpr std::size_t longest_port_name = 4095;
constexpr std::size_t room_beside_variables = 4096;
constexpr mode_t writable_by_others = S_IWGRP | S_IWOTH;
constexpr const char* machine_settings = "/etc/kelvane.conf";

std::size_t length_of_variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? 0 : std::strlen(value);
}

// The folder of core data, or "": asked for only when asking does not end the process and tells nothing.
std::string core_data_folder() {
  const bool is_named = KvIsProfessionalRegistryMode() != 0
                            ? std::getenv("HOME") != nullptr || std::getenv("KVCORE_PRIVATE_DATA") != nullptr
                            : access(machine_settings, R_OK) == 0;
  if (!is_named) return "";
  std::vector<char> folder(room_beside_variables + length_of_variable("HOME") +
                           length_of_variable("KVCORE_PRIVATE_DATA"));
  return KvICalculateCoreDataDirectory(folder.data()) == 1 ? std::string(folder.data()) : "";
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
  if ((folder.st_mode & writable_by_others) == 0) return "";
  if ((folder.st_mode & S_ISVTX) == 0) return " lies in a folder that others may write to";
  return is_trusted(file.st_uid) && (file.st_mode & writable_by_others) == 0 ? "" : " may be another user's";
}

// The first line of the endpoint file.
bool read_port_name(int fd, std::string* out) {
  char line[longest_port_name + 1];
  const ssize_t size = read(fd, line, longest_port_name);
  if (size <= 0) return false;
  line[size] = '\0';
  out->assign(line, strcspn(line, "\n"));
  return !out->empty();
}

// A name that is too long for an address is reached through the descriptor of its folder.
int connect_to(int fd, const std::string& port) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  Unique_Fd folder;
  std::string name = port;
  if (name.size() >= sizeof address.sun_path) {
    folder = Unique_Fd(open(folder_of(port).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) return errno;
    name = "/proc/self/fd/" + std::to_string(folder.get()) + "/" + name_in_folder(port);
    if (name.size() >= sizeof address.sun_path) return ENAMETOOLONG;
  }
  std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
  return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

Meeting meet_at(const std::string& port) {
  Meeting meeting;
  meeting.socket = Own_Socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!meeting.socket.is_open()) return absent("no socket", errno);
  if (const int error = connect_to(meeting.socket.fd(), port); error != 0) return absent(port, error);
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(meeting.socket.fd(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return absent(port, errno);
  if (!is_trusted(peer.uid)) return refused("user " + std::to_string(peer.uid) + " answers at " + port);
  return meeting;
}

}  // namespace

std::string endpoint_file() {
  if (KvIsProfessionalRegistryMode() == 0) return std::string(KvTmpDir(0)) + "/kv/regss";
  const std::optional<struct stat> core_data = state_of(core_data_folder());
  if (!core_data) return "";
  char identity[64];
  std::snprintf(identity, sizeof identity, "%lx:%lld", static_cast<unsigned long>(core_data->st_dev),
                static_cast<long long>(core_data->st_ino));
  return std::string(KvTmpDir(0)) + "/regss" + identity;
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
  std::string port;
  if (!read_port_name(endpoint.get(), &port)) return absent(file + " names no port", ENOENT);
  return meet_at(port);
}

}  // namespace impl::client
