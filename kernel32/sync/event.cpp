#include "kernel32/sync/event.h"

#include <errno.h>
#include <sys/eventfd.h>
#include <sys/uio.h>
#include <unistd.h>

#include "kernel32/sync/sync_error.h"

namespace {

// As much as a signal takes: an eventfd's counter, and in a FIFO eight bytes just as well.
constexpr uint64_t one_signal = 1;

// Takes every signal at once. A pipe holds more than one read of ordinary size; all pieces may go to one place.
bool drain(int fd) {
  constexpr size_t piece_size = 4096;
  constexpr size_t pieces = 16;
  char nobody_reads_this[piece_size];
  iovec room[pieces];
  for (iovec& piece : room) piece = {nobody_reads_this, piece_size};
  return readv(fd, room, pieces) > 0;
}

}  // namespace

inline namespace kelvane {

// A descriptor that is full is signalled already.
bool Event::set() {
  if (!is_intact()) return false;
  return write(descriptor(), &one_signal, sizeof one_signal) > 0 || errno == EAGAIN;
}

bool Event::reset() {
  if (!is_intact()) return false;
  drain(descriptor());
  return true;
}

bool Event::take() { return manual_reset_ ? true : is_intact() && drain(descriptor()); }

void Event::give_back() {
  if (!manual_reset_) set();
}

Found_Event create_unnamed_event(Event_Start start) {
  Own_Descriptor descriptor(eventfd(start.signalled ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (descriptor.get() < 0) return {nullptr, code_of_errno(errno)};
  return {std::make_unique<Event>(std::move(descriptor), start.manual_reset), ERROR_SUCCESS};
}

}  // namespace kelvane
