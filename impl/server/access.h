// What a peer may do with a key, by the key's mode, owner and group.
//
// As with files the first class that fits decides: owner, group, others. Of its bits r lets read and watch the key, w
// change, extend and delete it; x means nothing, so a key below one that may not be read is reached by its path. Root
// passes.
#pragma once

#include <windef.h>

#include "hive/registry.h"
#include "impl/server/peer.h"

namespace impl::server {

// Whoever has the hives' files anyway: root, and the user that the server runs as.
bool is_administrator(const Peer& peer);

struct Allowed {
  bool reading = false;
  bool writing = false;
};

Allowed allowed_to(const Peer& peer, const hive::Key_Rights& rights);

// The rights that a handle gets which is asked for with this mask; false when some of them are not the peer's.
// MAXIMUM_ALLOWED asks for whatever is.
bool grant(const Allowed& allowed, DWORD asked, DWORD* out_granted);

// Whether the peer may set these properties of a key, null ones not being set: the mode as owner, the group as owner to
// one of his own, the owner only as root.
bool may_change(const Peer& peer, const hive::Key_Rights& rights, const DWORD* mode, const DWORD* owner,
                const DWORD* group);

}  // namespace impl::server
