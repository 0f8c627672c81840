// Who is told of a change of a key: a program's event, or the thread that waits in the call.
#pragma once

#include <windef.h>

#include <condition_variable>
#include <mutex>

#include "hive/watch/watch.h"
#include "impl/held_event.h"

namespace impl {

class Event_Target final : public hive::Watch_Target {
 public:
  explicit Event_Target(HANDLE event) : event_(event) {}

  // Whether the handle is an event that the caller may signal.
  DWORD code() const { return event_.code(); }
  void signal() override { event_.signal(); }

 private:
  Held_Event event_;
};

class Waiting_Caller final : public hive::Watch_Target {
 public:
  void signal() override;
  void wait();

 private:
  std::mutex mutex_;
  std::condition_variable told_;
  bool is_told_ = false;
};

}  // namespace impl
