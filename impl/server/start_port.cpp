#include "impl/server/start_port.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "impl/endpoint/port_address.h"

namespace impl {
namespace {

constexpr int backlog = 4096;
constexpr mode_t mode_for_everybody = 0666;
constexpr mode_t mode_for_the_user = 0600;

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
  const std::optional<uid_t> user = user_at(connection.number());
  return user && (*user == geteuid() || *user == 0);
}

// Nothing of it is left, with the reason in errno.
Descriptor closed(Descriptor socket) {
  const int error = errno;
  socket.reset();
  errno = error;
  return socket;
}

}  // namespace

Descriptor connect_to_port(const std::string& path) {
  Descriptor connection(port_socket());
  if (!connection || connect_socket(connection.number(), path)) return connection;
  return closed(std::move(connection));
}

Descriptor listen_at_port(const std::string& path, bool for_everybody) {
  const Port_Address address(path);
  Descriptor port = address.is_good() ? Descriptor(port_socket()) : Descriptor();
  if (!port || listen_with_mode(port, address, path, for_everybody ? mode_for_everybody : mode_for_the_user))
    return port;
  return closed(std::move(port));
}

bool port_answers(const std::string& path) {
  if (path.empty()) return false;
  const Descriptor connection = connect_to_port(path);
  // A port with too many callers has a server.
  return connection ? is_trusted(connection) : errno == EAGAIN;
}

}  // namespace impl
