// Whole hives, and writing through to the disk: the worker does it, so that nobody else waits.
#include <winnt.h>

#include <cerrno>
#include <limits>

#include "impl/inproc/status_code.h"
#include "impl/registry_service.h"
#include "impl/server/held.h"
#include "impl/server/later.h"
#include "impl/server/passing_file.h"
#include "impl/server/perform.h"
#include "impl/wire/sealed_memory.h"

namespace impl::server {
namespace {

constexpr const char* hive_name = "hive";
constexpr const char* backup_names[] = {"machine.hive", "user.hive", "users.hive"};

// Whether the peer may read a key and all below it.
hive::Status check_may_read(hive::Registry& registry, const Peer& peer, const hive::Key& key) {
  hive::Key_Rights rights{};
  hive::Status status = registry.rights(key, &rights);
  if (status == hive::Status::ok && !allowed_to(peer, rights).reading) status = hive::Status::denied;
  char16_t text[max_key_name_room];
  for (std::uint32_t index = 0; status == hive::Status::ok; ++index) {
    hive::Text_Out name{text, max_key_name_room, 0};
    hive::Key below;
    status = registry.enumerate_key(key, index, name, nullptr, nullptr);
    if (status == hive::Status::no_more_items) return hive::Status::ok;
    if (status == hive::Status::ok) status = registry.open(key, {text, name.length}, &below);
    if (status == hive::Status::ok) status = check_may_read(registry, peer, below);
  }
  return status;
}

}  // namespace

DWORD perform(Caller& caller, wire::Flush_Key::Question& question, wire::Flush_Key::Answer* out) {
  hive::Key key;
  const DWORD code = held_key(caller, question.key, 0, &key);
  if (code != ERROR_SUCCESS) return code;
  return do_later(caller, out, [&registry = caller.core.registry(), key](wire::Flush_Key::Answer*, Scratch&) {
    return code_of(registry.flush(key));
  });
}

// The key is opened anew: listing it here must not move the place of who lists it through the handle.
DWORD perform(Caller& caller, wire::Save_Key::Question& question, wire::Save_Key::Answer* out) {
  hive::Key held, key;
  const DWORD code = held_key(caller, question.key, 0, &held);
  if (code != ERROR_SUCCESS) return code;
  const hive::Status status = caller.core.registry().open(held, {}, &key);
  if (status != hive::Status::ok) return code_of(status);
  return do_later(
      caller, out, [&core = caller.core, key, peer = caller.peer()](wire::Save_Key::Answer* out, Scratch& scratch) {
        hive::Status status = peer.is_root() ? hive::Status::ok : check_may_read(core.registry(), peer, key);
        if (status != hive::Status::ok) return code_of(status);
        const Passing_Folder folder(core.settings().data_folder);
        if (!folder.is_made()) return code_of_errno(errno);
        status = core.registry().save(key, folder.file(hive_name));
        if (status != hive::Status::ok) return code_of(status);
        out->hive.fd = scratch.keep(folder.take(hive_name));
        return out->hive.fd < 0 ? code_of_errno(errno) : DWORD{ERROR_SUCCESS};
      });
}

// A hive brings modes and owners of its own, so not everybody may bring one.
DWORD perform(Caller& caller, wire::Load_Key::Question& question, wire::Load_Key::Answer* out) {
  hive::Key at;
  const DWORD code = held_key(caller, question.key, KEY_SET_VALUE | KEY_CREATE_SUB_KEY, &at);
  if (code != ERROR_SUCCESS) return code;
  if (!is_administrator(caller.peer())) return ERROR_ACCESS_DENIED;
  const auto hive = std::make_shared<wire::Sealed_Bytes>(question.hive.fd, std::numeric_limits<std::size_t>::max());
  if (hive->error() != 0) return ERROR_INVALID_PARAMETER;
  return do_later(caller, out,
                  [&core = caller.core, at, hive, path = std::u16string(wire::text_of(question.path))](
                      wire::Load_Key::Answer*, Scratch&) {
                    const Passing_Folder folder(core.settings().data_folder);
                    if (!folder.is_made()) return code_of_errno(errno);
                    if (const int error = folder.put(hive_name, hive->bytes()); error != 0) return code_of_errno(error);
                    const Changes::All all(core.changes());
                    return code_of(core.registry().load(at, path, folder.file(hive_name)));
                  });
}

DWORD perform(Caller& caller, wire::Unload_Key::Question& question, wire::Unload_Key::Answer* out) {
  hive::Key at;
  const DWORD code = held_key(caller, question.key, 0, &at);
  if (code != ERROR_SUCCESS) return code;
  if (!is_administrator(caller.peer())) return ERROR_ACCESS_DENIED;
  return do_later(caller, out,
                  [&core = caller.core, at, path = std::u16string(wire::text_of(question.path))](
                      wire::Unload_Key::Answer*, Scratch&) {
                    const Changes::All all(core.changes());
                    return code_of(core.registry().unload(at, path));
                  });
}

DWORD perform(Caller& caller, wire::Backup::Question&, wire::Backup::Answer* out) {
  if (!is_administrator(caller.peer())) return ERROR_ACCESS_DENIED;
  return do_later(caller, out, [&core = caller.core](wire::Backup::Answer* out, Scratch& scratch) {
    const Passing_Folder folder(core.settings().data_folder);
    if (!folder.is_made()) return code_of_errno(errno);
    const hive::Status status = core.registry().backup(folder.path());
    if (status != hive::Status::ok) return code_of(status);
    for (const char* const name : backup_names) {
      const int fd = scratch.keep(folder.take(name));
      const wire::Bytes bytes{reinterpret_cast<const unsigned char*>(name), std::char_traits<char>::length(name)};
      if (fd >= 0) out->files.push_back({bytes, {fd}});
    }
    return DWORD{ERROR_SUCCESS};
  });
}

DWORD perform(Caller& caller, wire::User_Image::Question&, wire::User_Image::Answer* out) {
  if (caller.is_in_batch()) return ERROR_TRANSACTION_REQUEST_NOT_VALID;
  return do_later(caller, out,
                  [&registry = caller.core.registry(), user = caller.peer().user, group = caller.peer().group](
                      wire::User_Image::Answer* out, Scratch& scratch) {
                    std::vector<unsigned char> image;
                    const hive::Status status = registry.image_of_user(user, group, &image);
                    if (status != hive::Status::ok) return code_of(status);
                    out->image.fd = scratch.keep(wire::seal(image));
                    return out->image.fd < 0 ? code_of_errno(errno) : DWORD{ERROR_SUCCESS};
                  });
}

}  // namespace impl::server
