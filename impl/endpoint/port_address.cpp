#include "impl/endpoint/port_address.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

namespace impl {

Port_Address::Port_Address(const std::string& path) {
  address_.sun_family = AF_UNIX;
  is_good_ = path.size() < sizeof address_.sun_path ? take(path) : take_by_folder(path);
}

bool Port_Address::take(const std::string& path) {
  errno = path.empty() ? ENOENT : ENAMETOOLONG;
  if (path.empty() || path.size() >= sizeof address_.sun_path) return false;
  std::memcpy(address_.sun_path, path.c_str(), path.size() + 1);
  return true;
}

bool Port_Address::take_by_folder(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == path.npos) return take(path);
  folder_ = wire::Unique_Fd(open(path.substr(0, slash + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  return folder_ && take("/proc/self/fd/" + std::to_string(folder_.get()) + path.substr(slash));
}

int port_socket() { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }

bool connect_socket(int socket, const std::string& path) {
  const Port_Address address(path);
  return address.is_good() && connect(socket, address.get(), Port_Address::size) == 0;
}

std::optional<uid_t> user_at(int connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer.uid;
}

}  // namespace impl
