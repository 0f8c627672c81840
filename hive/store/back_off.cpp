#include "hive/store/back_off.h"

#include <algorithm>
#include <thread>

namespace hive {
namespace {

constexpr std::chrono::microseconds longest_pause{500};

}  // namespace

std::chrono::milliseconds& patience_of_thread() {
  static thread_local std::chrono::milliseconds patience = busy_time_out;
  return patience;
}

Back_Off::Clock::time_point Back_Off::deadline() {
  if (deadline_ == Clock::time_point{}) deadline_ = Clock::now() + time_out_;
  return deadline_;
}

bool Back_Off::pause() {
  if (!pause(next_)) return false;
  next_ = std::min(next_ * 2, longest_pause);
  return true;
}

bool Back_Off::pause(std::chrono::microseconds longest) {
  Clock::time_point now = Clock::now();
  if (now >= deadline()) return false;
  std::this_thread::sleep_for(std::min<Clock::duration>(longest, deadline_ - now));
  return true;
}

}  // namespace hive
