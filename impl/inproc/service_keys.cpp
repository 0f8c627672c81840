// The service's operations on keys: opening, making, deleting, rights.
#include <winerror.h>
#include <winnt.h>

#include <utility>

#include "impl/inproc/access_mask.h"
#include "impl/inproc/inproc_service.h"
#include "impl/inproc/this_host.h"

namespace impl {
namespace {

bool is_key_itself(std::u16string_view path) { return path.find_first_not_of(u'\\') == path.npos; }

}  // namespace

DWORD Inproc_Service::hand_out(hive::Key key, DWORD access, HKEY* out_key) {
  const HKEY handle = handles_.add(std::move(key), granted_access(access));
  if (handle == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  *out_key = handle;
  return ERROR_SUCCESS;
}

hive::Status Inproc_Service::open_at(const hive::Key& at, std::u16string_view path, hive::Key* out_key) {
  return registry_.open(at, path, out_key);
}

// A handle without the right to create still opens what stands.
hive::Status Inproc_Service::create_at(const hive::Key& at, DWORD access, std::u16string_view path,
                                       const Key_Creation& creation, hive::Key* out_key, bool* out_created) {
  *out_created = false;
  if (is_key_itself(path)) return open_at(at, path, out_key);
  if ((access & KEY_CREATE_SUB_KEY) == 0) {
    const hive::Status status = open_at(at, path, out_key);
    return status == hive::Status::not_found ? hive::Status::denied : status;
  }
  const hive::Creation made{.class_name = creation.class_name,
                            .is_volatile = (creation.options & REG_OPTION_VOLATILE) != 0,
                            .is_link = (creation.options & REG_OPTION_CREATE_LINK) != 0};
  return registry_.create(at, path, made, out_key, out_created);
}

DWORD Inproc_Service::create_key(HKEY key, std::u16string_view path, const Key_Creation& creation, HKEY* out_key,
                                 bool* out_created) {
  hive::Key made;
  const DWORD code = with_key(key, 0, [&](const hive::Key& at, DWORD access) {
    return create_at(at, access, path, creation, &made, out_created);
  });
  return code == ERROR_SUCCESS ? hand_out(std::move(made), creation.access, out_key) : code;
}

DWORD Inproc_Service::open_key(HKEY key, std::u16string_view path, DWORD access, HKEY* out_key) {
  hive::Key opened;
  const DWORD code = read_key(key, 0, [&](const Reading& from) { return open_at(from.key, path, &opened); });
  return code == ERROR_SUCCESS ? hand_out(std::move(opened), access, out_key) : code;
}

DWORD Inproc_Service::close_key(HKEY key) {
  if (root_of(key)) return ERROR_SUCCESS;
  hive::Key closed;
  if (const Handle_Table::Pin pin = handles_.find(key)) closed = pin.key();
  if (!handles_.close(key)) return ERROR_INVALID_HANDLE;
  if (closed != nullptr) registry_.end_watches(closed);
  return ERROR_SUCCESS;
}

DWORD Inproc_Service::delete_key(HKEY key, std::u16string_view path) {
  return with_key(key, 0, [&](const hive::Key& at, DWORD) { return registry_.remove(at, path); });
}

DWORD Inproc_Service::rename_key(HKEY key, std::u16string_view path, std::u16string_view new_name) {
  return with_key(key, KEY_SET_VALUE | KEY_CREATE_SUB_KEY,
                  [&](const hive::Key& at, DWORD) { return registry_.rename(at, path, new_name); });
}

DWORD Inproc_Service::flush_key(HKEY key) {
  return with_key(key, 0, [&](const hive::Key& at, DWORD) { return registry_.flush(at); });
}

DWORD Inproc_Service::connect(std::u16string_view machine, HKEY root, HKEY* out_key) {
  if (!root_of(root)) return ERROR_INVALID_HANDLE;
  if (!is_this_host(machine)) return ERROR_BAD_NETPATH;
  return open_key(root, {}, KEY_ALL_ACCESS, out_key);
}

DWORD Inproc_Service::change_rights(HKEY key, std::u16string_view path, const Rights_Change& change) {
  return with_key(key, 0, [&](const hive::Key& at, DWORD) {
    hive::Key target;
    const hive::Status status = open_at(at, path, &target);
    if (status != hive::Status::ok) return status;
    return registry_.set_rights(target, change.mode, change.owner, change.group);
  });
}

DWORD Inproc_Service::describe_rights(HKEY key, std::u16string_view path, Rights_Facts* out_facts) {
  return with_key(key, 0, [&](const hive::Key& at, DWORD) {
    hive::Key target;
    hive::Key_Rights rights{};
    hive::Status status = open_at(at, path, &target);
    if (status == hive::Status::ok) status = registry_.rights(target, &rights);
    if (status == hive::Status::ok) *out_facts = {rights.mode, rights.owner, rights.group};
    return status;
  });
}

}  // namespace impl
