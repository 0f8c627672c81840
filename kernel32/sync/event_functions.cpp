// The published functions of events.
#include <kelvane/text.h>
#include <string.h>
#include <winbase.h>

#include "kernel32/sync/event.h"
#include "kernel32/sync/event_name.h"
#include "kernel32/sync/handle_table.h"
#include "kernel32/sync/sync_error.h"

namespace {

constexpr size_t max_name_length = 260;

// The generic rights as the event's own.
DWORD mapped_access(DWORD access) {
  DWORD mapped = access & ~(GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL | MAXIMUM_ALLOWED);
  if ((access & GENERIC_READ) != 0) mapped |= STANDARD_RIGHTS_READ | EVENT_QUERY_STATE;
  if ((access & GENERIC_WRITE) != 0) mapped |= STANDARD_RIGHTS_WRITE | EVENT_MODIFY_STATE;
  if ((access & GENERIC_EXECUTE) != 0) mapped |= STANDARD_RIGHTS_EXECUTE | SYNCHRONIZE;
  if ((access & (GENERIC_ALL | MAXIMUM_ALLOWED)) != 0) mapped |= EVENT_ALL_ACCESS;
  return mapped;
}

HANDLE hand_out(Found_Event found, DWORD access) {
  SetLastError(found.code);
  if (found.event == nullptr) return nullptr;
  const HANDLE handle = kelvane::Handle_Table::of_process().add(std::move(found.event), access);
  if (handle == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return handle;
}

HANDLE create(const wchar_t* name, size_t length, kelvane::Event_Start start) {
  if (length == 0) return hand_out(kelvane::create_unnamed_event(start), EVENT_ALL_ACCESS);
  if (length > max_name_length) {
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return nullptr;
  }
  return hand_out(kelvane::create_named_event(kelvane::event_path(name, length), start), EVENT_ALL_ACCESS);
}

HANDLE open(const wchar_t* name, size_t length, DWORD access) {
  if (length == 0 || length > max_name_length) {
    SetLastError(length == 0 ? ERROR_INVALID_NAME : ERROR_FILENAME_EXCED_RANGE);
    return nullptr;
  }
  kelvane::Found_Event found = kelvane::open_named_event(kelvane::event_path(name, length));
  if (found.event != nullptr) found.code = ERROR_SUCCESS;
  return hand_out(std::move(found), mapped_access(access));
}

size_t length_of(const wchar_t* name) { return name == nullptr ? 0 : wcslen(name); }

int size_of(const char* name) { return name == nullptr ? 0 : static_cast<int>(strlen(name)); }

// Changes an event's state by one of its operations.
BOOL change(HANDLE handle, bool (kelvane::Event::*operation)()) {
  const kelvane::Handle_Table::Pin pin = kelvane::Handle_Table::of_process().find(handle);
  if (!pin || pin->kind() != kelvane::Object_Kind::event) return kelvane::refuse(ERROR_INVALID_HANDLE);
  if ((pin.access() & EVENT_MODIFY_STATE) == 0) return kelvane::refuse(ERROR_ACCESS_DENIED);
  const bool changed = (static_cast<kelvane::Event*>(pin.get())->*operation)();
  return changed ? TRUE : kelvane::refuse(ERROR_INVALID_HANDLE);
}

}  // namespace

HANDLE CreateEventA(LPSECURITY_ATTRIBUTES, BOOL manual_reset, BOOL initial_state, LPCSTR name) {
  return kelvane::handle_from([&] {
    const kelvane::KvUnicodeStringWithLength wide(name, size_of(name));
    return create(wide.text(), static_cast<size_t>(wide.length()), {manual_reset != FALSE, initial_state != FALSE});
  });
}

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES, BOOL manual_reset, BOOL initial_state, LPCWSTR name) {
  return kelvane::handle_from([&] {
    return create(name, length_of(name), {manual_reset != FALSE, initial_state != FALSE});
  });
}

HANDLE OpenEventA(DWORD access, BOOL, LPCSTR name) {
  if (name == nullptr) return kelvane::refuse(ERROR_INVALID_PARAMETER), nullptr;
  return kelvane::handle_from([&] {
    const kelvane::KvUnicodeStringWithLength wide(name, size_of(name));
    return open(wide.text(), static_cast<size_t>(wide.length()), access);
  });
}

HANDLE OpenEventW(DWORD access, BOOL, LPCWSTR name) {
  if (name == nullptr) return kelvane::refuse(ERROR_INVALID_PARAMETER), nullptr;
  return kelvane::handle_from([&] { return open(name, length_of(name), access); });
}

BOOL SetEvent(HANDLE event) { return change(event, &kelvane::Event::set); }

BOOL ResetEvent(HANDLE event) { return change(event, &kelvane::Event::reset); }
