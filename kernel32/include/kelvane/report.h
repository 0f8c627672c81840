/*
 * Reports of calls that the layer answers without doing anything.
 *
 * With KVTRACE_STUBS true in the environment each report is one line on standard error; without it nothing is
 * printed. A report sets no last error and may be made from any thread.
 */
#ifndef KELVANE_REPORT_H
#define KELVANE_REPORT_H

#include <windef.h>

KV_BEGIN_C

/* Records that a registry function that is not implemented was called: "Not yet implemented: <name>". */
KV_EXPORT void KvNotYetImplemented(const char* name);

/* An area of the interface that reported calls belong to. */
typedef struct KvStubCategory {
  const char* name;
} KvStubCategory;

/* Security calls; service-control and policy calls; debug-help calls. */
extern KV_EXPORT const KvStubCategory AdvSecurity;
extern KV_EXPORT const KvStubCategory AdvServices;
extern KV_EXPORT const KvStubCategory KvTrImageHdr;

/* The level at which every entry point without function reports. */
#define KV_STUB_LEVEL 40

/*
 * Records that an entry point without function was called: "Not implemented (<category>, level <level>): <text>".
 * The text is the entry's name as it is to be reported; a null category or text is written as "(null)".
 * Returns 0.
 */
KV_EXPORT int KvStub(int level, const KvStubCategory* category, const char* text);

KV_END_C

#endif
