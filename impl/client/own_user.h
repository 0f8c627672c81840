// Whether the process still has the user and groups that it had. The system is asked once a tick of its coarse clock:
// each single look costs a few nanoseconds, and a change is seen a hundredth of a second later at the latest.
#pragma once

#include <atomic>
#include <cstdint>

namespace impl::client {

// A number for effective user, group and groups. Never 0.
std::uint64_t number_of_user();

class Own_User {
 public:
  // Whether the number is still the process's.
  bool is_still(std::uint64_t user) const {
    const std::uint64_t tick = this_tick();
    if (tick_.load(std::memory_order_acquire) == tick && user_.load(std::memory_order_relaxed) == user) [[likely]]
      return true;
    return look(user, tick);
  }

 private:
  static std::uint64_t this_tick();
  bool look(std::uint64_t user, std::uint64_t tick) const;

  mutable std::atomic<std::uint64_t> tick_{0};
  mutable std::atomic<std::uint64_t> user_{0};
};

}  // namespace impl::client
