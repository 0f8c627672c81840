// Going on in the background: whoever started the program waits until questions are answered.
#pragma once

#include "impl/server/start_descriptor.h"

namespace regss {

class Background {
 public:
  // Forks. In the process that was started, *out_status is what it is to end with, when the server answers or has
  // failed: false. In the other one, which is the server and has a session of its own: true.
  bool enter(int* out_status);
  // Nothing is said on standard error from now on but into the log.
  void take_log();
  // The server answers: who started it goes on.
  void tell_ready();

 private:
  impl::Descriptor ready_;
};

}  // namespace regss
