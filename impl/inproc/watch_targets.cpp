#include "impl/inproc/watch_targets.h"

#include <winbase.h>
#include <winerror.h>

namespace impl {

// A registry call leaves the last error as it was.
Event_Target::Event_Target(HANDLE event) {
  const DWORD before = GetLastError();
  event_ = KvHoldEvent(event);
  code_ = event_ == nullptr ? GetLastError() : ERROR_SUCCESS;
  SetLastError(before);
}

Event_Target::~Event_Target() { KvReleaseEvent(event_); }

void Event_Target::signal() { KvSetHeldEvent(event_); }

void Waiting_Caller::signal() {
  const std::lock_guard guard(mutex_);
  is_told_ = true;
  told_.notify_one();
}

void Waiting_Caller::wait() {
  std::unique_lock lock(mutex_);
  told_.wait(lock, [this] { return is_told_; });
}

}  // namespace impl
