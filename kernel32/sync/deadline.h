// The moment until which a wait lasts.
#ifndef KELVANE_KERNEL32_SYNC_DEADLINE_H
#define KELVANE_KERNEL32_SYNC_DEADLINE_H

#include <time.h>
#include <winbase.h>

inline namespace kelvane {

class Deadline {
 public:
  // From now; INFINITE is never.
  explicit Deadline(DWORD milliseconds) : endless_(milliseconds == INFINITE) {
    clock_gettime(CLOCK_MONOTONIC, &end_);
    end_.tv_sec += milliseconds / 1000;
    end_.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
    if (end_.tv_nsec >= second) end_ = {end_.tv_sec + 1, end_.tv_nsec - second};
  }

  bool has_passed() const {
    const timespec left = remaining();
    return !endless_ && left.tv_sec == 0 && left.tv_nsec == 0;
  }

  // What is left, zero when it has passed. The second form is null for an endless wait.
  timespec remaining() const {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    timespec left = {end_.tv_sec - now.tv_sec, end_.tv_nsec - now.tv_nsec};
    if (left.tv_nsec < 0) left = {left.tv_sec - 1, left.tv_nsec + second};
    return left.tv_sec < 0 ? timespec{0, 0} : left;
  }
  const timespec* remaining(timespec* room) const {
    if (endless_) return nullptr;
    *room = remaining();
    return room;
  }

 private:
  static constexpr long second = 1000000000;

  bool endless_;
  timespec end_;
};

}  // namespace kelvane

#endif
