/* The layer's global critical section. It is recursive and counts the holds of each thread. */
#ifndef KELVANE_CRITICAL_H
#define KELVANE_CRITICAL_H

#include <windef.h>

KV_BEGIN_C

KV_EXPORT void KvEnterKernelCritical(void);
/* Releases one hold; does nothing when the calling thread has none. */
KV_EXPORT void KvLeaveKernelCritical(void);
/* Releases every hold of the calling thread; does nothing when it has none. */
KV_EXPORT void KvTotalUnblockKernelCritical(void);

KV_END_C

#endif
