// Events held beyond their handles: pins of the handle table.
#include <kelvane/event.h>

#include <new>
#include <utility>

#include "kernel32/sync/event.h"
#include "kernel32/sync/handle_table.h"
#include "kernel32/sync/sync_error.h"

struct KvHeldEvent {
  kelvane::Handle_Table::Pin pin;
};

KvHeldEvent* KvHoldEvent(HANDLE event) {
  kelvane::Handle_Table::Pin pin = kelvane::Handle_Table::of_process().find(event);
  if (!pin || pin->kind() != kelvane::Object_Kind::event) return kelvane::refuse(ERROR_INVALID_HANDLE), nullptr;
  if ((pin.access() & EVENT_MODIFY_STATE) == 0) return kelvane::refuse(ERROR_ACCESS_DENIED), nullptr;
  auto* held = new (std::nothrow) KvHeldEvent{std::move(pin)};
  if (held == nullptr) kelvane::refuse(ERROR_NOT_ENOUGH_MEMORY);
  return held;
}

void KvSetHeldEvent(KvHeldEvent* event) { static_cast<kelvane::Event*>(event->pin.get())->set(); }

void KvReleaseEvent(KvHeldEvent* event) { delete event; }
