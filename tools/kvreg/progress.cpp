#include "tools/kvreg/progress.h"

#include <unistd.h>

#include <cstdio>

#include "tools/kvreg/terminal.h"

namespace kvreg {
namespace {

constexpr std::chrono::milliseconds patience{1000}, interval{200};
constexpr char clear_line[] = "\r\033[K";

}  // namespace

Progress::Progress(std::string doing, std::string things)
    : doing_(std::move(doing)),
      things_(std::move(things)),
      next_(Clock::now() + patience),
      is_terminal_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  if (is_shown_) std::fputs(clear_line, stderr);
}

void Progress::step(std::uint64_t count) {
  stop_if_interrupted();
  done_ += count;
  if (is_terminal_ && Clock::now() >= next_) show();
}

void Progress::show() {
  next_ = Clock::now() + interval;
  is_shown_ = true;
  const auto number = static_cast<unsigned long long>(done_);
  std::fprintf(stderr, "%s%s: %llu %s", clear_line, doing_.c_str(), number, things_.c_str());
}

}  // namespace kvreg
