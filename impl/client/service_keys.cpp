// The client's operations on keys: opening, making, deleting, rights.
#include <winnt.h>

#include "impl/client/client_service.h"
#include "impl/inproc/this_host.h"

namespace impl::client {

DWORD Client_Service::hand_out(const Subject& at, std::u16string_view path, DWORD access, wire::Bytes id,
                               const std::shared_ptr<Session>& session, wire::Number handle, HKEY* out_key) {
  const std::u16string_view above = at.key == nullptr ? std::u16string_view() : at.key->path;
  auto key = std::make_unique<Remote_Key>(at.root, joined(above, path), Key_Id(id.begin(), id.end()), access);
  key->session = session;
  key->handle = handle;
  const HKEY given = keys_.add(std::move(key));
  if (given == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  *out_key = given;
  return ERROR_SUCCESS;
}

template <class Call, class Take>
DWORD Client_Service::open(HKEY key, std::u16string_view path, const typename Call::Question& question, Take take,
                           HKEY* out_key) {
  wire::Number handle = 0;
  Key_Id id;
  auto exchange = client::exchange<Call>(question, [&](const typename Call::Answer& answer) -> DWORD {
    handle = answer.handle;
    id.assign(answer.id.begin(), answer.id.end());
    take(answer);
    return answer.code;
  });
  return with_key(key, 0, [&](Subject at) {
    at.by_thread = true;
    std::shared_ptr<Session> session;
    const DWORD code = carrier_.carry(exchange, at, &session);
    return code == ERROR_SUCCESS ? hand_out(at, path, question.access, id, session, handle, out_key) : code;
  });
}

DWORD Client_Service::create_key(HKEY key, std::u16string_view path, const Key_Creation& creation, HKEY* out_key,
                                 bool* out_created) {
  if (!fits_message(path)) return ERROR_INVALID_PARAMETER;
  *out_created = false;
  return open<wire::Create_Key>(
      key, path, {0, wire::bytes_of(path), wire::bytes_of(creation.class_name), creation.options, creation.access},
      [&](const wire::Create_Key::Answer& answer) { *out_created = answer.created != 0; }, out_key);
}

DWORD Client_Service::open_key(HKEY key, std::u16string_view path, DWORD access, HKEY* out_key) {
  if (!fits_message(path)) return ERROR_INVALID_PARAMETER;
  return open<wire::Open_Key>(
      key, path, {0, wire::bytes_of(path), access}, [](const wire::Open_Key::Answer&) {}, out_key);
}

DWORD Client_Service::close_key(HKEY key) {
  if (root_of(key)) return ERROR_SUCCESS;
  const Remote_Keys::Pin pin(keys_, key);
  if (!pin || !keys_.close(key)) return ERROR_INVALID_HANDLE;
  carrier_.close(pin.key());
  return ERROR_SUCCESS;
}

DWORD Client_Service::delete_key(HKEY key, std::u16string_view path) {
  if (!fits_message(path)) return ERROR_INVALID_PARAMETER;
  return remove<wire::Delete_Key>(key, 0, {0, wire::bytes_of(path)}, Rights::of_thread);
}

DWORD Client_Service::rename_key(HKEY key, std::u16string_view path, std::u16string_view new_name) {
  if (!fits_message(path) || !fits_message(new_name)) return ERROR_INVALID_PARAMETER;
  return remove<wire::Rename_Key>(key, KEY_SET_VALUE | KEY_CREATE_SUB_KEY,
                                  {0, wire::bytes_of(path), wire::bytes_of(new_name)}, Rights::of_thread);
}

DWORD Client_Service::flush_key(HKEY key) {
  return ask<wire::Flush_Key>(
      key, 0, {}, [](const auto& answer) { return DWORD{answer.code}; }, Rights::of_handle, Length::whole_hives);
}

DWORD Client_Service::connect(std::u16string_view machine, HKEY root, HKEY* out_key) {
  if (!root_of(root)) return ERROR_INVALID_HANDLE;
  if (!is_this_host(machine)) return ERROR_BAD_NETPATH;
  return open_key(root, {}, KEY_ALL_ACCESS, out_key);
}

DWORD Client_Service::change_rights(HKEY key, std::u16string_view path, const Rights_Change& change) {
  if (!fits_message(path)) return ERROR_INVALID_PARAMETER;
  wire::Change_Rights::Question question{.path = wire::bytes_of(path)};
  const auto set = [&](const DWORD* property, wire::Number bit, wire::Number* out) {
    if (property == nullptr) return;
    question.which |= bit;
    *out = *property;
  };
  set(change.mode, 1, &question.mode);
  set(change.owner, 2, &question.owner);
  set(change.group, 4, &question.group);
  return ask<wire::Change_Rights>(
      key, 0, question, [](const auto& answer) { return DWORD{answer.code}; }, Rights::of_thread);
}

DWORD Client_Service::describe_rights(HKEY key, std::u16string_view path, Rights_Facts* out_facts) {
  if (!fits_message(path)) return ERROR_INVALID_PARAMETER;
  return ask<wire::Describe_Rights>(
      key, 0, {0, wire::bytes_of(path)},
      [&](const auto& answer) -> DWORD {
        if (answer.code == ERROR_SUCCESS) *out_facts = {answer.mode, answer.owner, answer.group};
        return answer.code;
      },
      Rights::of_thread);
}

}  // namespace impl::client
