// What takes longer than a second tells on a terminal how far it is, on one line of standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kvreg {

class Progress {
 public:
  // doing: "exporting"; things: "keys".
  Progress(std::string doing, std::string things);
  // Clears the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // So many more are done. Throws Interrupted when a signal was noted.
  void step(std::uint64_t count = 1);

 private:
  using Clock = std::chrono::steady_clock;

  void show();

  std::string doing_;
  std::string things_;
  std::uint64_t done_ = 0;
  Clock::time_point next_;
  bool is_terminal_;
  bool is_shown_ = false;
};

}  // namespace kvreg
