// An event of the program, kept beyond the end of its handle.
#pragma once

#include <kelvane/event.h>
#include <windef.h>

namespace impl {

class Held_Event {
 public:
  explicit Held_Event(HANDLE event);
  ~Held_Event();
  Held_Event(const Held_Event&) = delete;
  Held_Event& operator=(const Held_Event&) = delete;

  // Whether the handle is an event that the caller may signal.
  DWORD code() const { return code_; }
  void signal() { KvSetHeldEvent(event_); }

 private:
  DWORD code_;
  KvHeldEvent* event_;
};

}  // namespace impl
