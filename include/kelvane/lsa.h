/*
 * The layer's own calls of the local security authority. Each goes to the registry's implementation library with all
 * six arguments as they are, and its answer comes back unchanged; start-up must have bound it. What the arguments mean
 * is the implementation's: give null for those that it does not know. Any thread may call these functions.
 */
#ifndef KELVANE_LSA_H
#define KELVANE_LSA_H

#include "../windef.h"

KV_BEGIN_C

/* Prepares the authority. In this process there is nothing to prepare: 0. */
KV_EXPORT INT_PTR KvLsaInit(void* a, void* b, void* c, void* d, void* e, void* f);

/*
 * Whether a user is an administrator. In this process a is the user's name as wide text, null for the calling
 * thread's (the one it impersonates, else the effective one); TRUE for user 0 and FALSE for any other, with the last
 * error ERROR_NO_SUCH_USER when there is no user of that name.
 */
KV_EXPORT INT_PTR KvIsAdministrator(void* a, void* b, void* c, void* d, void* e, void* f);

/*
 * The number of a user on this host. In this process a is the user's name as wide text, null for the thread's,
 * and b the address of a DWORD for the number, or null. TRUE, or FALSE with ERROR_NO_SUCH_USER and nothing stored.
 */
KV_EXPORT INT_PTR KvMapImpersonatedUser(void* a, void* b, void* c, void* d, void* e, void* f);

/* Makes changes of accounts known. In this process they are looked up anew each time: 0. */
KV_EXPORT INT_PTR KvRefreshSecData(void* a, void* b, void* c, void* d, void* e, void* f);

KV_END_C

#endif
