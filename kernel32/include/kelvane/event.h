/* Events that a library signals later on behalf of a program. */
#ifndef KELVANE_EVENT_H
#define KELVANE_EVENT_H

#include <windef.h>

KV_BEGIN_C

typedef struct KvHeldEvent KvHeldEvent;

/*
 * Keeps an event beyond the end of its handle, so that a number that was closed, and may be another object's by then,
 * is never signalled. The event is to be released. Null with the last error ERROR_INVALID_HANDLE for anything but an
 * event, ERROR_ACCESS_DENIED without EVENT_MODIFY_STATE, or ERROR_NOT_ENOUGH_MEMORY. In a forked child an event that
 * its parent holds is neither set nor released.
 */
KV_EXPORT KvHeldEvent* KvHoldEvent(HANDLE event);

/* Makes it signalled. Sets no last error. */
KV_EXPORT void KvSetHeldEvent(KvHeldEvent* event);

/* Lets go of it. Null is allowed. Sets no last error. */
KV_EXPORT void KvReleaseEvent(KvHeldEvent* event);

KV_END_C

#endif
