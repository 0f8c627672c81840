#include "impl/server/start_port.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace impl {
namespace {

constexpr int backlog = 4096;
constexpr mode_t mode_for_everybody = 0666;
constexpr mode_t mode_for_the_user = 0600;

// The address of a path, with the descriptor of its folder where the path is too long. The descriptor must stay open
// while the address is used.
class Port_Address {
 public:
  explicit Port_Address(const std::string& path) {
    address_.sun_family = AF_UNIX;
    is_good_ = path.size() < sizeof address_.sun_path ? take(path) : take_by_folder(path);
  }

  bool is_good() const { return is_good_; }
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  static constexpr socklen_t size = sizeof(sockaddr_un);

 private:
  bool take(const std::string& path) {
    errno = path.empty() ? ENOENT : ENAMETOOLONG;
    if (path.empty() || path.size() >= sizeof address_.sun_path) return false;
    std::memcpy(address_.sun_path, path.c_str(), path.size() + 1);
    return true;
  }
  bool take_by_folder(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == path.npos) return take(path);
    folder_ = Descriptor(open(path.substr(0, slash + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return folder_ && take("/proc/self/fd/" + std::to_string(folder_.number()) + path.substr(slash));
  }

  Descriptor folder_;
  sockaddr_un address_{};
  bool is_good_ = false;
};

Descriptor stream_socket() { return Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)); }

bool listen_with_mode(const Descriptor& port, const Port_Address& address, const std::string& path, mode_t mode) {
  if (bind(port.number(), address.get(), Port_Address::size) != 0) return false;
  // Nobody can connect before it listens, so that the mode is there in time.
  if (chmod(path.c_str(), mode) == 0 && listen(port.number(), backlog) == 0) return true;
  const int error = errno;
  unlink(path.c_str());
  errno = error;
  return false;
}

bool is_trusted(const Descriptor& connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(connection.number(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
  return peer.uid == geteuid() || peer.uid == 0;
}

}  // namespace

Descriptor connect_to_port(const std::string& path) {
  const Port_Address address(path);
  Descriptor connection = address.is_good() ? stream_socket() : Descriptor();
  if (!connection || connect(connection.number(), address.get(), Port_Address::size) == 0) return connection;
  const int error = errno;
  connection.reset();
  errno = error;
  return connection;
}

Descriptor listen_at_port(const std::string& path, bool for_everybody) {
  const Port_Address address(path);
  Descriptor port = address.is_good() ? stream_socket() : Descriptor();
  if (!port || listen_with_mode(port, address, path, for_everybody ? mode_for_everybody : mode_for_the_user))
    return port;
  const int error = errno;
  port.reset();
  errno = error;
  return port;
}

bool port_answers(const std::string& path) {
  if (path.empty()) return false;
  const Descriptor connection = connect_to_port(path);
  // A port with too many callers has a server.
  return connection ? is_trusted(connection) : errno == EAGAIN;
}

}  // namespace impl
