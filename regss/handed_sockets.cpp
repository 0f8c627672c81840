#include "regss/handed_sockets.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>

#include <cstddef>
#include <cstring>

namespace regss {

std::string path_of_socket(int socket) {
  sockaddr_un address{};
  socklen_t size = sizeof address;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return "";
  constexpr std::size_t path_start = offsetof(sockaddr_un, sun_path);
  if (address.sun_family != AF_UNIX || size <= path_start) return "";
  return {address.sun_path, strnlen(address.sun_path, size - path_start)};
}

bool take_handed_sockets(std::vector<int>* out_sockets, std::string* out_reason) {
  const int count = sd_listen_fds(1);
  if (count < 0) {
    *out_reason = std::string("the service manager's sockets cannot be taken: ") + std::strerror(-count);
    return false;
  }
  for (int socket = SD_LISTEN_FDS_START; socket < SD_LISTEN_FDS_START + count; ++socket) {
    if (sd_is_socket_unix(socket, SOCK_STREAM, 1, nullptr, 0) <= 0 || path_of_socket(socket).empty()) {
      *out_reason = "the service manager's descriptor " + std::to_string(socket) +
                    " is no listening Unix stream socket in the file system";
      return false;
    }
    out_sockets->push_back(socket);
  }
  return true;
}

}  // namespace regss
