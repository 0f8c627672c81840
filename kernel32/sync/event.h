// Events.
//
// An event is signalled while its descriptor is readable. An event without name is an eventfd. One with a name is a
// FIFO in the folder of events: its state lasts exactly as long as some process has it open. The FIFO's mode tells its
// kind to later openers.
#ifndef KELVANE_KERNEL32_SYNC_EVENT_H
#define KELVANE_KERNEL32_SYNC_EVENT_H

#include <windef.h>

#include <memory>
#include <string>
#include <utility>

#include "kernel32/sync/kernel_object.h"
#include "kernel32/sync/own_descriptor.h"

inline namespace kelvane {

struct Event_Start {
  bool manual_reset;
  bool signalled;
};

class Event : public Kernel_Object {
 public:
  Event(Own_Descriptor descriptor, bool manual_reset)
      : Kernel_Object(Object_Kind::event), descriptor_(std::move(descriptor)), manual_reset_(manual_reset) {}

  int descriptor() const override { return descriptor_.get(); }
  bool is_intact() const override { return descriptor_.is_ours(); }
  bool take() override;
  void give_back() override;

  // False when the descriptor is gone.
  bool set();
  bool reset();

 protected:
  Own_Descriptor descriptor_;

 private:
  bool manual_reset_;
};

// An event and the Win32 code of how it went: ERROR_SUCCESS for a new one, ERROR_ALREADY_EXISTS for one that was there,
// else there is no event.
struct Found_Event {
  std::unique_ptr<Event> event;
  DWORD code;
};

Found_Event create_unnamed_event(Event_Start start);
Found_Event create_named_event(const std::string& relative_path, Event_Start start);

// ERROR_FILE_NOT_FOUND when no process has an event of that name.
Found_Event open_named_event(const std::string& relative_path);

}  // namespace kelvane

#endif
