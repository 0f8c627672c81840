// Who is told of a change of a key: a program's event, or the thread that waits in the call.
#pragma once

#include <kelvane/event.h>
#include <windef.h>

#include <condition_variable>
#include <mutex>

#include "hive/watch/watch.h"

namespace impl {

// Holds the event itself: its handle may be closed before anything changes.
class Event_Target final : public hive::Watch_Target {
 public:
  explicit Event_Target(HANDLE event);
  ~Event_Target() override;
  Event_Target(const Event_Target&) = delete;
  Event_Target& operator=(const Event_Target&) = delete;

  // Whether the handle is an event that the caller may signal.
  DWORD code() const { return code_; }
  void signal() override;

 private:
  DWORD code_;
  KvHeldEvent* event_;
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
