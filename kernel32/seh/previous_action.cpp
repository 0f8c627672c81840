// Delivery to the handler that was there before ours. Everything here is safe inside a signal handler.
#include "kernel32/seh/previous_action.h"

inline namespace kelvane {
namespace {

void call(const struct sigaction& action, const Fault& fault) {
  if ((action.sa_flags & SA_SIGINFO) != 0) {
    action.sa_sigaction(fault.signal, fault.info, fault.context);
  } else {
    action.sa_handler(fault.signal);
  }
}

// Runs the function with the mask that it asked for, and with ours again when it returns.
void call_masked(const struct sigaction& action, const Fault& fault) {
  sigset_t blocked = action.sa_mask;
  if ((action.sa_flags & SA_NODEFER) == 0) sigaddset(&blocked, fault.signal);
  sigset_t before;
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  call(action, fault);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

void take_default_action(const Fault& fault) {
  signal(fault.signal, SIG_DFL);
  if (!is_own_fault(fault)) raise(fault.signal);
}

void pass_on(const struct sigaction& action, const Fault& fault) {
  const bool has_function =
      (action.sa_flags & SA_SIGINFO) != 0 || (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN);
  if (has_function) {
    call_masked(action, fault);
  } else if (action.sa_handler == SIG_DFL || is_own_fault(fault)) {
    // A fault cannot be ignored: its instruction would fault for ever.
    take_default_action(fault);
  }
}

}  // namespace kelvane
