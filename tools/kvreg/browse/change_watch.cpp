#include "tools/kvreg/browse/change_watch.h"

#include <fcntl.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>
#include <winreg.h>

#include "tools/kvreg/failure.h"

namespace kvreg {
namespace {

HANDLE new_event() {
  const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  if (event == nullptr) throw Failure{"an event", "", GetLastError()};
  return event;
}

}  // namespace

Change_Watch::Change_Watch(const std::vector<Key_Path>& tops) : ending_(new_event()) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) throw Complaint("no pipe can be made");
  read_end_ = ends[0];
  write_end_ = ends[1];
  for (const Key_Path& each : tops) watch(each);
  thread_ = std::thread([this] { wait_for_changes(); });
}

Change_Watch::~Change_Watch() {
  SetEvent(ending_);
  thread_.join();
  for (const auto& each : watched_) CloseHandle(each->event);
  CloseHandle(ending_);
  close(read_end_);
  close(write_end_);
}

void Change_Watch::take() {
  char told[64];
  while (read(read_end_, told, sizeof told) > 0) {
  }
  for (const auto& each : watched_)
    if (each->is_told.exchange(false)) arm(*each);
}

void Change_Watch::watch(const Key_Path& top) {
  try {
    watched_.push_back(std::make_unique<Watched>(Key::open(top), new_event()));
    arm(*watched_.back());
  } catch (const Failure&) {
  }
}

// A key that can be watched no more is not told of any more.
void Change_Watch::arm(const Watched& watched) const {
  constexpr DWORD filter = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_ATTRIBUTES;
  RegNotifyChangeKeyValue(watched.key.handle(), TRUE, filter, watched.event, TRUE);
}

void Change_Watch::wait_for_changes() {
  std::vector<HANDLE> events = {ending_};
  for (const auto& each : watched_) events.push_back(each->event);
  const auto count = static_cast<DWORD>(events.size());
  for (;;) {
    const DWORD result = WaitForMultipleObjects(count, events.data(), FALSE, INFINITE);
    if (result <= WAIT_OBJECT_0 || result >= WAIT_OBJECT_0 + count) return;
    watched_[result - WAIT_OBJECT_0 - 1]->is_told = true;
    // A pipe that is full tells enough.
    if (write(write_end_, "", 1) < 0) continue;
  }
}

}  // namespace kvreg
