// The wait until a process is idle: a named event for each process, which the process sets once it is idle, and which a
// notification sets, too.
#include <kelvane/notify.h>
#include <kelvane/process.h>
#include <unistd.h>
#include <winbase.h>

#include <atomic>
#include <cstdint>
#include <cstdio>

inline namespace kelvane {
namespace {

constexpr int input_idle = 0;
constexpr DWORD no_process = 0xFFFFFFFF;

// Opens the event when it exists already; null when it cannot be had.
HANDLE event_of(int pid) {
  char name[sizeof "Kv__WaitForInputIdleEvent_" + 8];
  std::snprintf(name, sizeof name, "Kv__WaitForInputIdleEvent_%08x", static_cast<unsigned>(pid));
  return CreateEventA(nullptr, TRUE, FALSE, name);
}

// The handle that keeps the event of a process signalled, below the process that it belongs to: a forked child has
// another. One atomic word, for a handle fits 32 bits.
struct Kept {
  static constexpr int handle_bits = 32;

  static std::uint64_t pack(int pid, HANDLE handle) {
    return static_cast<std::uint64_t>(pid) << handle_bits | reinterpret_cast<UINT_PTR>(handle);
  }
  static int pid_of(std::uint64_t kept) { return static_cast<int>(kept >> handle_bits); }
  static HANDLE handle_of(std::uint64_t kept) { return reinterpret_cast<HANDLE>(static_cast<UINT32>(kept)); }
};

std::atomic<std::uint64_t> kept_event;

// Keeps the event of this process open for its life: one handle, however often it declares itself idle.
void keep(int pid, HANDLE event) {
  std::uint64_t kept = kept_event.load();
  if (Kept::pid_of(kept) == pid && WaitForSingleObject(Kept::handle_of(kept), 0) != WAIT_FAILED) {
    CloseHandle(event);
    return;
  }
  // Another thread that was faster keeps its own; a handle that lost its descriptor, or came with a fork, is let go.
  const HANDLE spare = kept_event.compare_exchange_strong(kept, Kept::pack(pid, event)) ? Kept::handle_of(kept) : event;
  if (spare != nullptr) CloseHandle(spare);
}

// Hears that another process has become idle.
class WaitNotifOp final : public NotifOp {
 public:
  // QUIRK idle-news-reported: whoever hears of another's idleness reports its own.
  int operator()(int pid, int, char*, int) override { return FlagWaitForInputIdle(pid, 1); }
};

}  // namespace
}  // namespace kelvane

int FlagWaitForInputIdle(int pid, int close_event) {
  const HANDLE event = event_of(pid);
  SetEvent(event);
  if (close_event != 0) {
    CloseHandle(event);
  } else if (event != nullptr && pid == getpid()) {
    keep(pid, event);
  }
  return KvReportNotification(input_idle, nullptr, 0);
}

int AdvFlagWaitForInputIdle() { return FlagWaitForInputIdle(getpid(), 0); }

DWORD AdvWaitForInputIdle(HANDLE process, unsigned milliseconds) {
  const DWORD pid = KvGetPidFromProcHandle(process, 0);
  if (pid == no_process) return WAIT_FAILED;
  const HANDLE event = event_of(static_cast<int>(pid));
  if (event == nullptr) return WAIT_FAILED;
  KvRequestNotification(static_cast<int>(pid), input_idle, 1);
  const HANDLE event_and_end[] = {event, process};
  const DWORD result = WaitForMultipleObjects(2, event_and_end, FALSE, milliseconds);
  CloseHandle(event);
  return result == WAIT_OBJECT_0 + 1 ? WAIT_FAILED : result;
}

int AdvInitInputIdle() { return KvRegisterNotificationHandler(input_idle, new WaitNotifOp); }
