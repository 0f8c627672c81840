// A port's address and who is met there: a Unix stream socket in the file system. A path that no socket address holds
// is reached through the descriptor of its folder.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <optional>
#include <string>

#include "impl/wire/unique_fd.h"

namespace impl {

// Good as long as this lives, which keeps the folder's descriptor.
class Port_Address {
 public:
  // Not good, with errno, for a path that is none.
  explicit Port_Address(const std::string& path);

  bool is_good() const { return is_good_; }
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  static constexpr socklen_t size = sizeof(sockaddr_un);

 private:
  bool take(const std::string& path);
  bool take_by_folder(const std::string& path);

  wire::Unique_Fd folder_;
  sockaddr_un address_{};
  bool is_good_ = false;
};

// A socket for a port or for a connection to one, which does not wait; -1 with errno.
int port_socket();

// Connects such a socket; false with errno. EAGAIN when too many wait to be accepted.
bool connect_socket(int socket, const std::string& path);

// Whose process made the other end of a connection, or listens there.
std::optional<uid_t> user_at(int connection);

}  // namespace impl
