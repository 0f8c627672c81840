// Waiting for one of several objects, or for all of them, with poll.
//
// Everybody who waits for an event sees its signal. An event that resets itself belongs to whoever then takes the
// signal out of it; the others find nothing and wait on. A wait for all takes signals only when each object has one; if
// it misses one after all, it gives the others back.
#include <errno.h>
#include <poll.h>
#include <winbase.h>

#include <algorithm>
#include <array>

#include "kernel32/sync/deadline.h"
#include "kernel32/sync/handle_table.h"
#include "kernel32/sync/process_object.h"
#include "kernel32/sync/sync_error.h"

namespace {

using kelvane::Deadline;
using kelvane::Handle_Table;

// POLLHUP is what a process shows that is gone altogether.
constexpr short signalled = POLLIN | POLLHUP;
constexpr timespec at_once = {0, 0};

// What a look at the objects showed: perhaps a signal, none in the whole time, or that the system refuses to look.
enum class Seen { something, nothing, refused };

// What is waited for. The calling process stands in it as an object that is never signalled.
class Wait_Set {
 public:
  // The Win32 code: ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED, or ERROR_SUCCESS.
  DWORD add(HANDLE handle) {
    Handle_Table::Pin pin;
    if (!kelvane::is_current_process(handle)) {
      pin = Handle_Table::of_process().find(handle);
      if (!pin) return ERROR_INVALID_HANDLE;
      if ((pin.access() & SYNCHRONIZE) == 0) return ERROR_ACCESS_DENIED;
    }
    polled_[count_] = {pin ? pin->descriptor() : -1, POLLIN, 0};
    pins_[count_++] = std::move(pin);
    return ERROR_SUCCESS;
  }

  DWORD count() const { return count_; }

  // Whether every object can still be waited for.
  bool is_intact() const {
    return std::all_of(pins_.begin(), pins_.begin() + count_,
                       [](const Handle_Table::Pin& pin) { return !pin || pin->is_intact(); });
  }

  // Waits that long (null: for ever) for a signal and notes every object that has one; the second form waits only for
  // those that were not noted.
  Seen look(const timespec* time) { return poll_all(polled_.data(), time); }
  Seen wait_for_missing(const timespec* time) {
    std::array<pollfd, MAXIMUM_WAIT_OBJECTS> missing = polled_;
    for (DWORD i = 0; i < count_; ++i) {
      if (is_signalled(i)) missing[i].fd = -1;
    }
    return poll_all(missing.data(), time);
  }

  bool is_signalled(DWORD index) const { return (polled_[index].revents & signalled) != 0; }
  bool are_all_signalled() const {
    return std::all_of(polled_.begin(), polled_.begin() + count_,
                       [](const pollfd& each) { return (each.revents & signalled) != 0; });
  }

  // The first object whose signal could be taken; count() when there was none.
  DWORD take_first() {
    for (DWORD i = 0; i < count_; ++i) {
      if (is_signalled(i) && pins_[i]->take()) return i;
    }
    return count_;
  }

  // All signals or none.
  bool take_all() {
    DWORD taken = 0;
    while (taken < count_ && pins_[taken]->take()) ++taken;
    if (taken == count_) return true;
    while (taken > 0) pins_[--taken]->give_back();
    return false;
  }

 private:
  Seen poll_all(pollfd* polled, const timespec* time) const {
    for (DWORD i = 0; i < count_; ++i) polled[i].revents = 0;
    const int found = ppoll(polled, count_, time, nullptr);
    if (found >= 0) return found > 0 ? Seen::something : Seen::nothing;
    for (DWORD i = 0; i < count_; ++i) polled[i].revents = 0;
    return errno == EINTR ? Seen::something : Seen::refused;
  }

  std::array<pollfd, MAXIMUM_WAIT_OBJECTS> polled_{};
  std::array<Handle_Table::Pin, MAXIMUM_WAIT_OBJECTS> pins_;
  DWORD count_ = 0;
};

DWORD fail(DWORD code) {
  SetLastError(code);
  return WAIT_FAILED;
}

DWORD wait_for_any(Wait_Set& set, const Deadline& deadline) {
  for (;;) {
    if (!set.is_intact()) return fail(ERROR_INVALID_HANDLE);
    timespec room;
    const Seen seen = set.look(deadline.remaining(&room));
    if (seen == Seen::nothing) return WAIT_TIMEOUT;
    if (seen == Seen::refused) return fail(ERROR_NOT_ENOUGH_MEMORY);
    const DWORD first = set.take_first();
    if (first != set.count()) return WAIT_OBJECT_0 + first;
  }
}

DWORD wait_for_all(Wait_Set& set, const Deadline& deadline) {
  for (Seen seen = Seen::something;;) {
    if (!set.is_intact()) return fail(ERROR_INVALID_HANDLE);
    const bool last_look = seen == Seen::nothing;
    if (set.look(&at_once) == Seen::refused || seen == Seen::refused) return fail(ERROR_NOT_ENOUGH_MEMORY);
    if (set.are_all_signalled()) {
      if (set.take_all()) return WAIT_OBJECT_0;
      continue;
    }
    if (last_look) return WAIT_TIMEOUT;
    timespec room;
    seen = set.wait_for_missing(deadline.remaining(&room));
  }
}

bool has_duplicates(const HANDLE* handles, DWORD count) {
  for (DWORD i = 1; i < count; ++i) {
    if (std::find(handles, handles + i, handles[i]) != handles + i) return true;
  }
  return false;
}

}  // namespace

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all, DWORD milliseconds) {
  if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || handles == nullptr) return fail(ERROR_INVALID_PARAMETER);
  if (wait_all != FALSE && has_duplicates(handles, count)) return fail(ERROR_INVALID_PARAMETER);
  const Deadline deadline(milliseconds);
  Wait_Set set;
  for (DWORD i = 0; i < count; ++i) {
    const DWORD code = set.add(handles[i]);
    if (code != ERROR_SUCCESS) return fail(code);
  }
  return wait_all != FALSE ? wait_for_all(set, deadline) : wait_for_any(set, deadline);
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
  return WaitForMultipleObjects(1, &object, FALSE, milliseconds);
}
