/* What a signal does behind our handler: passing a fault on as the kernel would have delivered it. */
#ifndef KELVANE_KERNEL32_SEH_PREVIOUS_ACTION_H
#define KELVANE_KERNEL32_SEH_PREVIOUS_ACTION_H

#include "kernel32/seh/fault.h"

inline namespace kelvane {

/* Calls the action's function with its signal mask, ignores the signal, or takes the default action. May be
 * left by a jump. */
void pass_on(const struct sigaction& action, const Fault& fault);

/* Ends the process by the signal: at once, or when the faulting instruction is run again. */
void take_default_action(const Fault& fault);

}  // namespace kelvane

#endif
