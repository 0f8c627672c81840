#include "impl/held_event.h"

#include <winbase.h>
#include <winerror.h>

namespace impl {

// A registry call leaves the last error as it was.
Held_Event::Held_Event(HANDLE event) {
  const DWORD before = GetLastError();
  event_ = KvHoldEvent(event);
  code_ = event_ == nullptr ? GetLastError() : ERROR_SUCCESS;
  SetLastError(before);
}

Held_Event::~Held_Event() { KvReleaseEvent(event_); }

}  // namespace impl
