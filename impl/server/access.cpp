#include "impl/server/access.h"

#include <unistd.h>
#include <winnt.h>

#include "impl/inproc/access_mask.h"

namespace impl::server {
namespace {

constexpr unsigned mode_read = 4;
constexpr unsigned mode_write = 2;
constexpr int owner_shift = 6;
constexpr int group_shift = 3;

constexpr DWORD reading_rights = KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY;
constexpr DWORD writing_rights = KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_CREATE_LINK | DELETE;

}  // namespace

bool is_administrator(const Peer& peer) { return peer.is_root() || peer.user == geteuid(); }

Allowed allowed_to(const Peer& peer, const hive::Key_Rights& rights) {
  if (peer.is_root()) return {true, true};
  const int shift = peer.user == rights.owner ? owner_shift : peer.is_in(rights.group) ? group_shift : 0;
  const unsigned mode = rights.mode >> shift;
  return {(mode & mode_read) != 0, (mode & mode_write) != 0};
}

bool grant(const Allowed& allowed, DWORD asked, DWORD* out_granted) {
  const DWORD refused = (allowed.reading ? 0 : reading_rights) | (allowed.writing ? 0 : writing_rights);
  const DWORD named = granted_access(asked & ~MAXIMUM_ALLOWED);
  const DWORD most = (asked & MAXIMUM_ALLOWED) != 0 ? KEY_ALL_ACCESS & ~refused : 0;
  *out_granted = named | most;
  return (named & refused) == 0;
}

bool may_change(const Peer& peer, const hive::Key_Rights& rights, const DWORD* mode, const DWORD* owner,
                const DWORD* group) {
  if (peer.is_root()) return true;
  if (peer.user != rights.owner) return mode == nullptr && owner == nullptr && group == nullptr;
  const bool keeps_owner = owner == nullptr || *owner == rights.owner;
  const bool keeps_group = group == nullptr || *group == rights.group || peer.is_in(*group);
  return keeps_owner && keeps_group;
}

}  // namespace impl::server
