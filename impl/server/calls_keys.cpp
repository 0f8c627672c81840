// Opening, making, closing and removing keys.
#include <winnt.h>

#include "impl/inproc/access_mask.h"
#include "impl/inproc/status_code.h"
#include "impl/server/counted.h"
#include "impl/server/held.h"
#include "impl/server/perform.h"

namespace impl::server {
namespace {

hive::Registry& registry_of(Caller& caller) { return caller.core.registry(); }

// A path without its last part; empty when it has one.
std::u16string_view parent_of(std::u16string_view path) {
  const std::size_t last = path.find_last_not_of(u'\\');
  if (last == path.npos) return {};
  const std::size_t end = path.find_last_of(u'\\', last);
  return end == path.npos ? std::u16string_view() : path.substr(0, end);
}

// Whether the peer may make what is missing of the path: of the last key that stands the peer must be allowed to write,
// or be so by the handle when that is the key itself.
DWORD check_may_create(Caller& caller, wire::Number handle, const hive::Key& at, std::u16string_view path) {
  hive::Key above;
  hive::Status status = hive::Status::not_found;
  while (status == hive::Status::not_found && !is_key_itself(path = parent_of(path))) {
    status = registry_of(caller).open(at, path, &above);
  }
  hive::Key ignored;
  if (status == hive::Status::not_found) return held_key(caller, handle, KEY_CREATE_SUB_KEY, &ignored);
  if (status != hive::Status::ok) return code_of(status);
  Allowed allowed;
  const DWORD code = allowed_for(caller, above, &allowed);
  return code == ERROR_SUCCESS && !allowed.writing ? ERROR_ACCESS_DENIED : code;
}

// Whether the peer may write the key at a path from a handle.
DWORD check_may_write(Caller& caller, wire::Number handle, std::u16string_view path, hive::Key* out_at,
                      hive::Key* out_key) {
  hive::Key& key = *out_key;
  Allowed allowed;
  DWORD code = held_key(caller, handle, 0, out_at);
  if (code != ERROR_SUCCESS) return code;
  const hive::Status status = registry_of(caller).open(*out_at, path, &key);
  if (status != hive::Status::ok) return code_of(status);
  code = allowed_for(caller, key, &allowed);
  return code == ERROR_SUCCESS && !allowed.writing ? ERROR_ACCESS_DENIED : code;
}

// The rights of a key that was just made are those that were asked for, whatever its mode says.
DWORD make(Caller& caller, const hive::Key& at, wire::Create_Key::Question& question, wire::Create_Key::Answer* out) {
  const hive::Creation creation{.class_name = wire::text_of(question.class_name),
                                .is_volatile = (question.options & REG_OPTION_VOLATILE) != 0,
                                .is_link = (question.options & REG_OPTION_CREATE_LINK) != 0,
                                .owner = caller.peer().user};
  hive::Key key;
  bool is_created = false;
  const auto path = wire::text_of(question.path);
  announce_change_below(caller, at);
  const hive::Status status = registry_of(caller).create(at, path, creation, &key, &is_created);
  if (status != hive::Status::ok) return code_of(status);
  if (const DWORD code = identity_of(caller, key, &out->id); code != ERROR_SUCCESS) return code;
  if (!is_created) return hand_out(caller, std::move(key), question.access, &out->handle);
  out->created = 1;
  out->handle = *caller.made = caller.session->keys.add(std::move(key), granted_access(question.access));
  return out->handle == 0 ? beyond_limit : ERROR_SUCCESS;
}

DWORD open_existing(Caller& caller, hive::Key key, DWORD access, wire::Number* out_handle, wire::Bytes* out_id) {
  const DWORD code = identity_of(caller, key, out_id);
  return code == ERROR_SUCCESS ? hand_out(caller, std::move(key), access, out_handle) : code;
}

// What an answer told before it came to a refusal.
template <class Answer>
DWORD told(DWORD code, Answer* out) {
  if (code != ERROR_SUCCESS) *out = {};
  return code;
}

}  // namespace

DWORD perform(Caller& caller, wire::Create_Key::Question& question, wire::Create_Key::Answer* out) {
  hive::Key at, key;
  DWORD code = held_key(caller, question.key, 0, &at);
  if (code != ERROR_SUCCESS) return code;
  if (caller.session->keys.is_full()) return beyond_limit;
  const auto path = wire::text_of(question.path);
  const hive::Status status = registry_of(caller).open(at, path, &key);
  if (status == hive::Status::ok) {
    return told(open_existing(caller, std::move(key), question.access, &out->handle, &out->id), out);
  }
  if (status != hive::Status::not_found) return code_of(status);
  code = check_may_create(caller, question.key, at, path);
  return code == ERROR_SUCCESS ? told(make(caller, at, question, out), out) : code;
}

DWORD perform(Caller& caller, wire::Open_Key::Question& question, wire::Open_Key::Answer* out) {
  hive::Key at, key;
  const DWORD code = held_key(caller, question.key, 0, &at);
  if (code != ERROR_SUCCESS) return code;
  const hive::Status status = registry_of(caller).open(at, wire::text_of(question.path), &key);
  if (status != hive::Status::ok) return code_of(status);
  return told(open_existing(caller, std::move(key), question.access, &out->handle, &out->id), out);
}

DWORD perform(Caller& caller, wire::Reopen_Key::Question& question, wire::Reopen_Key::Answer* out) {
  hive::Key root, key;
  wire::Bytes id;
  DWORD code = held_key(caller, question.root, 0, &root);
  if (code != ERROR_SUCCESS) return code;
  const hive::Status status = registry_of(caller).open(root, wire::text_of(question.path), &key);
  if (status == hive::Status::not_found) return ERROR_KEY_DELETED;
  if (status != hive::Status::ok) return code_of(status);
  code = identity_of(caller, key, &id);
  if (code != ERROR_SUCCESS) return code;
  if (!std::equal(id.begin(), id.end(), question.id.begin(), question.id.end())) return ERROR_KEY_DELETED;
  return hand_out(caller, std::move(key), question.access, &out->handle);
}

// A root stays open.
DWORD perform(Caller& caller, wire::Close_Key::Question& question, wire::Close_Key::Answer*) {
  hive::Key root;
  if (question.key >= 0x80000000u) return held_key(caller, question.key, 0, &root);
  const hive::Key key = caller.session->keys.remove(question.key);
  if (key == nullptr) return ERROR_INVALID_HANDLE;
  if (caller.session->watches > 0) registry_of(caller).end_watches(key);
  return ERROR_SUCCESS;
}

DWORD perform(Caller& caller, wire::Delete_Key::Question& question, wire::Delete_Key::Answer*) {
  hive::Key at, key;
  const auto path = wire::text_of(question.path);
  const DWORD code = check_may_write(caller, question.key, path, &at, &key);
  if (code != ERROR_SUCCESS) return code;
  announce_change(caller, key);
  return code_of(registry_of(caller).remove(at, path));
}

DWORD perform(Caller& caller, wire::Rename_Key::Question& question, wire::Rename_Key::Answer*) {
  hive::Key at, key;
  const auto path = wire::text_of(question.path);
  const DWORD code = check_may_write(caller, question.key, path, &at, &key);
  if (code != ERROR_SUCCESS) return code;
  announce_change(caller, key);
  return code_of(registry_of(caller).rename(at, path, wire::text_of(question.new_name)));
}

}  // namespace impl::server
