// Waiting for another process, a little longer each time, until the time is over.
#pragma once

#include <chrono>

namespace hive {

// How long another process may hold a hive before the answer is Status::busy.
inline constexpr std::chrono::seconds busy_time_out{5};

// The same for the calling thread, which may have less patience.
std::chrono::milliseconds& patience_of_thread();

class Back_Off {
 public:
  using Clock = std::chrono::steady_clock;

  // The time starts with the first pause: what never waits never asks the clock.
  explicit Back_Off(std::chrono::milliseconds time_out = patience_of_thread()) : time_out_(time_out) {}

  // False when the time is over; otherwise sleeps.
  bool pause();
  bool has_paused() const { return next_ != first_pause; }
  // The same for a given while.
  bool pause(std::chrono::microseconds longest);
  // When the time will be over.
  Clock::time_point deadline();

 private:
  static constexpr std::chrono::microseconds first_pause{100};

  std::chrono::milliseconds time_out_;
  std::chrono::microseconds next_ = first_pause;
  Clock::time_point deadline_{};
};

}  // namespace hive
