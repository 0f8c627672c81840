/* Reports of calls that the layer answers without doing anything. */
#ifndef KELVANE_REPORT_H
#define KELVANE_REPORT_H

#include <windef.h>

KV_BEGIN_C

/*
 * Records that an entry point that is not implemented was called. With KVTRACE_STUBS true in the environment
 * each call prints "Not yet implemented: <name>" on standard error; without it nothing is printed.
 */
KV_EXPORT void KvNotYetImplemented(const char* name);

KV_END_C

#endif
