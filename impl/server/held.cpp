#include "impl/server/held.h"

#include <winnt.h>

#include "impl/inproc/root_handles.h"
#include "impl/inproc/status_code.h"
#include "impl/server/core.h"

namespace impl::server {
namespace {

hive::Status open_root(Caller& caller, hive::Root root, hive::Key* out) {
  const bool is_user = root == hive::Root::current_user || root == hive::Root::users;
  hive::Status status = hive::Status::ok;
  if (is_user) status = caller.core.registry().open_user(caller.peer().user, caller.peer().group, out);
  if (status == hive::Status::ok && root != hive::Root::current_user) {
    status = caller.core.registry().open_root(root, out);
  }
  return status;
}

// Opened once for each client, so that listing below it keeps its place. What a batch opens it may have made, and it
// may be abandoned.
DWORD root_key(Caller& caller, hive::Root root, hive::Key* out) {
  hive::Key& kept = caller.session->roots[static_cast<std::size_t>(root)];
  {
    const std::lock_guard lock(caller.session->roots_mutex);
    *out = kept;
  }
  if (*out != nullptr) return ERROR_SUCCESS;
  const hive::Status status = open_root(caller, root, out);
  if (status != hive::Status::ok || caller.is_in_batch()) return code_of(status);
  const std::lock_guard lock(caller.session->roots_mutex);
  kept = *out;
  return ERROR_SUCCESS;
}

DWORD use_root(Caller& caller, hive::Root root, DWORD rights, hive::Key* out) {
  Allowed allowed;
  DWORD code = root_key(caller, root, out);
  if (code != ERROR_SUCCESS || rights == 0) return code;
  code = allowed_for(caller, *out, &allowed);
  if (code != ERROR_SUCCESS) return code;
  DWORD granted = 0;
  return grant(allowed, rights, &granted) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

}  // namespace

DWORD held_key(Caller& caller, wire::Number handle, DWORD rights, hive::Key* out) {
  if (handle >= 0x80000000u) {
    const auto root = predefined_root(handle);
    return root ? use_root(caller, *root, rights, out) : ERROR_INVALID_HANDLE;
  }
  std::optional<Held_Key> held = caller.session->keys.find(handle);
  if (!held) return ERROR_INVALID_HANDLE;
  if ((held->access & rights) != rights) return ERROR_ACCESS_DENIED;
  *out = std::move(held->key);
  return ERROR_SUCCESS;
}

DWORD allowed_for(Caller& caller, const hive::Key& key, Allowed* out) {
  hive::Key_Rights rights{};
  const hive::Status status = caller.core.registry().rights(key, &rights);
  *out = allowed_to(caller.peer(), rights);
  return code_of(status);
}

DWORD hand_out(Caller& caller, hive::Key key, DWORD asked, wire::Number* out) {
  Allowed allowed;
  DWORD granted = 0;
  if (caller.session->keys.is_full()) return beyond_limit;
  if (const DWORD code = allowed_for(caller, key, &allowed); code != ERROR_SUCCESS) return code;
  if (!grant(allowed, asked, &granted)) return ERROR_ACCESS_DENIED;
  *out = *caller.made = caller.session->keys.add(std::move(key), granted);
  return *out == 0 ? beyond_limit : ERROR_SUCCESS;
}

DWORD identity_of(Caller& caller, const hive::Key& key, wire::Bytes* out) {
  hive::Key_Identity identity;
  const hive::Status status = caller.core.registry().identity(key, &identity);
  if (status == hive::Status::ok) *out = caller.scratch.copy({identity.data(), identity.size()});
  return code_of(status);
}

bool is_key_itself(std::u16string_view path) { return path.find_first_not_of(u'\\') == path.npos; }

}  // namespace impl::server
