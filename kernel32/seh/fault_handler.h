/* Our handler of SIGSEGV and SIGBUS. */
#ifndef KELVANE_KERNEL32_SEH_FAULT_HANDLER_H
#define KELVANE_KERNEL32_SEH_FAULT_HANDLER_H

#include "kernel32/seh/fault.h"

inline namespace kelvane {

/* Puts our handler in front when it is not there. What it finds becomes the handler behind it. */
void keep_fault_handler_in_front();

/* Leaves by a jump when the calling thread's innermost guarded region catches the fault; returns when the
 * fault is not ours to catch. */
void leave_guarded_region(const Fault& fault);

}  // namespace kelvane

#endif
