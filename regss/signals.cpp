#include "regss/signals.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace regss {
namespace {

constexpr int told_by[] = {SIGTERM, SIGINT, SIGHUP};

sigset_t met_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : told_by) sigaddset(&set, signal);
  return set;
}

void raise_event(int event) {
  const std::uint64_t one = 1;
  // Whoever waits for it waits for ever when it is lost.
  while (write(event, &one, sizeof one) != sizeof one && errno != EAGAIN && errno != EBADF) {
  }
}

}  // namespace

void take_default_signals() {
  sigset_t none;
  sigemptyset(&none);
  for (const int number : told_by) signal(number, SIG_DFL);
  signal(SIGPIPE, SIG_IGN);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

Signals::Signals(std::function<void()> stopping, std::function<void()> reload)
    : stopping_(std::move(stopping)),
      reload_(std::move(reload)),
      stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      end_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  const sigset_t met = met_signals();
  pthread_sigmask(SIG_BLOCK, &met, nullptr);
  signals_ = impl::Descriptor(signalfd(-1, &met, SFD_CLOEXEC | SFD_NONBLOCK));
  thread_ = std::thread([this] { serve(); });
}

Signals::~Signals() {
  raise_event(end_.number());
  thread_.join();
}

void Signals::meet(int signal) {
  if (signal == SIGHUP) return reload_();
  stopping_();
  raise_event(stop_.number());
}

void Signals::serve() {
  for (;;) {
    pollfd ready[2] = {{end_.number(), POLLIN, 0}, {signals_.number(), POLLIN, 0}};
    if (poll(ready, 2, -1) < 0) continue;
    if (ready[0].revents != 0) return;
    signalfd_siginfo told;
    if (read(signals_.number(), &told, sizeof told) == sizeof told) meet(static_cast<int>(told.ssi_signo));
  }
}

}  // namespace regss
