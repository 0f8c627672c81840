// Who is at the other end of a socket, as the system tells it. Nothing that a message says counts.
#pragma once

#include <sys/types.h>

#include <vector>

namespace impl::server {

struct Peer {
  uid_t user = 0;
  gid_t group = 0;
  std::vector<gid_t> groups;  // the others
  pid_t process = 0;

  bool is_root() const { return user == 0; }
  bool is_in(gid_t asked) const;
  // The same rights, in whichever process.
  bool is_equal_of(const Peer& other) const;
};

// False when the system does not tell.
bool peer_of(int socket, Peer* out);

}  // namespace impl::server
