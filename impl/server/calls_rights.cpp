// Mode, owner and group of keys.
#include <winnt.h>

#include "impl/inproc/status_code.h"
#include "impl/server/counted.h"
#include "impl/server/held.h"
#include "impl/server/perform.h"

namespace impl::server {
namespace {

constexpr wire::Number which_mode = 1;
constexpr wire::Number which_owner = 2;
constexpr wire::Number which_group = 4;

DWORD find(Caller& caller, wire::Number handle, wire::Bytes path, hive::Key* out, hive::Key_Rights* out_rights) {
  hive::Key at;
  const DWORD code = held_key(caller, handle, 0, &at);
  if (code != ERROR_SUCCESS) return code;
  hive::Status status = caller.core.registry().open(at, wire::text_of(path), out);
  if (status == hive::Status::ok) status = caller.core.registry().rights(*out, out_rights);
  return code_of(status);
}

}  // namespace

DWORD perform(Caller& caller, wire::Change_Rights::Question& question, wire::Change_Rights::Answer*) {
  hive::Key key;
  hive::Key_Rights rights{};
  const DWORD code = find(caller, question.key, question.path, &key, &rights);
  if (code != ERROR_SUCCESS) return code;
  const DWORD* const mode = (question.which & which_mode) != 0 ? &question.mode : nullptr;
  const DWORD* const owner = (question.which & which_owner) != 0 ? &question.owner : nullptr;
  const DWORD* const group = (question.which & which_group) != 0 ? &question.group : nullptr;
  if (!may_change(caller.peer(), rights, mode, owner, group)) return ERROR_ACCESS_DENIED;
  announce_change(caller, key);
  return code_of(caller.core.registry().set_rights(key, mode, owner, group));
}

// As with files, whoever names a key may know whose it is.
DWORD perform(Caller& caller, wire::Describe_Rights::Question& question, wire::Describe_Rights::Answer* out) {
  hive::Key key;
  hive::Key_Rights rights{};
  const DWORD code = find(caller, question.key, question.path, &key, &rights);
  if (code != ERROR_SUCCESS) return code;
  out->mode = rights.mode;
  out->owner = rights.owner;
  out->group = rights.group;
  return ERROR_SUCCESS;
}

}  // namespace impl::server
