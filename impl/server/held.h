// The keys that questions name.
#pragma once

#include "hive/registry.h"
#include "impl/server/access.h"
#include "impl/server/caller.h"

namespace impl::server {

// The key of a handle, which must carry these rights; a root is asked anew for what the peer may do with it.
// ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED.
DWORD held_key(Caller& caller, wire::Number handle, DWORD rights, hive::Key* out);

// What the peer may do with a key.
DWORD allowed_for(Caller& caller, const hive::Key& key, Allowed* out);

// A new handle, with the rights that are asked for. beyond_limit; ERROR_ACCESS_DENIED.
DWORD hand_out(Caller& caller, hive::Key key, DWORD asked, wire::Number* out);

// Which key it is.
DWORD identity_of(Caller& caller, const hive::Key& key, wire::Bytes* out);

bool is_key_itself(std::u16string_view path);

}  // namespace impl::server
