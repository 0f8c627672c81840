/* A signal as its handler sees it. */
#ifndef KELVANE_KERNEL32_SEH_FAULT_H
#define KELVANE_KERNEL32_SEH_FAULT_H

#include <signal.h>

inline namespace kelvane {

struct Fault {
  int signal;
  siginfo_t* info;
  void* context;     /* the ucontext_t of the interrupted code */
  const void* frame; /* where on the stack our handler runs */
};

/* Whether the interrupted code made the fault itself. False for what another process or thread sent, and for
 * the kernel's notice of broken memory that nobody has touched. */
inline bool is_own_fault(const Fault& fault) {
  const bool is_notice = fault.signal == SIGBUS && fault.info->si_code == BUS_MCEERR_AO;
  return fault.info->si_code > 0 && !is_notice;
}

}  // namespace kelvane

#endif
