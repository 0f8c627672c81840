#include "impl/quiet_thread.h"

#include <pthread.h>
#include <signal.h>

#include <system_error>
#include <thread>

namespace impl {
namespace {

// While it lives, threads that are started leave every signal to the program's own.
class Signals_Blocked {
 public:
  Signals_Blocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~Signals_Blocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  Signals_Blocked(const Signals_Blocked&) = delete;
  Signals_Blocked& operator=(const Signals_Blocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

bool start_quiet_thread(const char* name, std::function<void()> body) {
  const Signals_Blocked blocked;
  try {
    std::thread([name, body = std::move(body)] {
      pthread_setname_np(pthread_self(), name);
      body();
    }).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace impl
