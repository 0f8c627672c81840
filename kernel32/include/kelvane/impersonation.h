/*
 * For whom a thread works: the user that it impersonates, else the effective user of the process. And locally
 * unique ids.
 *
 * Impersonation is a mark on the thread that the layer's own checks look at; the system knows nothing of it.
 */
#ifndef KELVANE_IMPERSONATION_H
#define KELVANE_IMPERSONATION_H

#include <windef.h>
#include <winnt.h>

KV_BEGIN_C

/*
 * The calling thread's slot: the impersonated user's uid plus 1; 0, as in a new thread, when it impersonates
 * nobody. The setter takes any value and returns TRUE.
 */
KV_EXPORT DWORD KvTTGetUid(void);
KV_EXPORT BOOL KvTTSetUid(DWORD uid_plus_one);

/*
 * The login name of the user for whom the thread works. *length is the room in characters, the terminator counted,
 * on entry, and the length of what was written, the terminator counted, on success; bytes for A (the name as the
 * system has it), wide characters for W (converted from the environment's code page).
 *
 * TRUE, or FALSE with the last error ERROR_INVALID_PARAMETER (a null length), ERROR_NO_SUCH_USER (the uid has no
 * entry), ERROR_NOT_ENOUGH_MEMORY, or ERROR_INSUFFICIENT_BUFFER (too little room or a null name: *length is the
 * room needed, nothing is written).
 */
KV_EXPORT BOOL KvIGetImpersonatedUserNameA(LPSTR name, LPDWORD length);
KV_EXPORT BOOL KvIGetImpersonatedUserNameW(LPWSTR name, LPDWORD length);

/*
 * An id that no other call has given or will give, in any process, until the machine is started again; never one
 * of the first 65,536, some of which have a published meaning. TRUE, or FALSE with the last error
 * ERROR_INVALID_PARAMETER for null.
 */
KV_EXPORT BOOL KvAllocateLocallyUniqueId(PLUID out_id);

KV_END_C

#endif
