#include "impl/server/peer.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace impl::server {
namespace {

constexpr std::size_t first_groups = 32;
constexpr std::size_t most_groups = 65536;  // of Linux

bool groups_of(int socket, std::vector<gid_t>* out) {
  for (std::size_t room = first_groups; room <= most_groups; room *= 2) {
    out->resize(room);
    auto size = static_cast<socklen_t>(room * sizeof(gid_t));
    if (getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, out->data(), &size) == 0) {
      out->resize(size / sizeof(gid_t));
      std::sort(out->begin(), out->end());
      return true;
    }
    if (errno != ERANGE) break;
  }
  return false;
}

}  // namespace

bool Peer::is_in(gid_t asked) const {
  return group == asked || std::binary_search(groups.begin(), groups.end(), asked);
}

bool Peer::is_equal_of(const Peer& other) const {
  return user == other.user && group == other.group && groups == other.groups;
}

bool peer_of(int socket, Peer* out) {
  ucred told{};
  socklen_t size = sizeof told;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &told, &size) != 0 || told.uid == static_cast<uid_t>(-1))
    return false;
  out->user = told.uid;
  out->group = told.gid;
  out->process = told.pid;
  return groups_of(socket, &out->groups);
}

}  // namespace impl::server
