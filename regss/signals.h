// The signals that the server is told by, met by a thread of their own.
#pragma once

#include <signal.h>

#include <functional>
#include <thread>

#include "impl/server/start_descriptor.h"

namespace regss {

// For the start: what was ignored or held back by who started the program is so no more. SIGPIPE is ignored.
void take_default_signals();

class Signals {
 public:
  // SIGTERM and SIGINT make stop() readable, SIGHUP calls reload in the thread. Made before any other thread: all have
  // these signals held back.
  Signals(std::function<void()> stopping, std::function<void()> reload);
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  int stop() const { return stop_.number(); }

 private:
  void serve();
  void meet(int signal);

  std::function<void()> stopping_;
  std::function<void()> reload_;
  impl::Descriptor stop_;
  impl::Descriptor end_;
  impl::Descriptor signals_;
  std::thread thread_;
};

}  // namespace regss
