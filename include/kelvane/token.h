/*
 * Who a thread works for, and whether that user may: tokens that are Unix uids, impersonation, and the access check
 * that decides. The native forms of the token functions stand here, too. All have C linkage; any thread may call.
 *
 * Impersonation is a mark on the thread: the layer's checks look at it, the system does not. What the thread opens
 * or writes, it does as the process's own user.
 */
#ifndef KELVANE_TOKEN_H
#define KELVANE_TOKEN_H

#include "../winbase.h"

KV_BEGIN_C

/*
 * Stores the uid of the user for whom the calling thread works: the impersonated one, else the process's effective
 * user. The other arguments are ignored. TRUE.
 */
KV_EXPORT BOOL KvOpenThreadToken(HANDLE thread, DWORD access, BOOL open_as_self, PHANDLE out_token);

/*
 * The calling thread, whatever the first argument, works for the user of this uid from now on; root is taken like
 * any other, and nobody is asked whether he exists. 0xFFFFFFFF ends it. TRUE.
 */
KV_EXPORT BOOL KvSetThreadToken(HANDLE thread, HANDLE token);

/* The token of KvOpenThreadToken. */
KV_EXPORT DWORD KvGetClientId(void);

/*
 * Whether a user may use what a descriptor protects. The descriptor is an absolute one (never self-relative): its
 * owner SID's sub-authorities are uids, its group SID's gids. ACLs, mapping and privileges are not looked at, and
 * neither is what access is desired. Decided in this order:
 *
 *   owner and group are one 0xFFFFFFFF each      granted, to everybody
 *   the token is 0 and root has an entry         granted
 *   no user of this uid, no owner or no group    denied; a null descriptor has neither
 *   the uid is among the owner's                 granted
 *   a gid of the group's is one of the user's    granted
 *   otherwise                                    denied
 *
 * token is a uid, of which 32 bits count; 0xFFFFFFFF is nobody. A user's gids are what the program "getgr.sh" of the
 * search path prints for his login name: it is started anew for each gid of the group SID, through the shell, and
 * the call waits for its end, without a limit of time. A script that fails or prints nothing is no member; words are
 * read as atoi reads them, so a word that is no number is the gid 0. A login name with characters that the shell
 * would take for its own is no member of anything.
 *
 * The call always returns TRUE and its answer is *out_status: TRUE, or FALSE with the last error ERROR_ACCESS_DENIED.
 * *out_granted_access is the desired access in both cases, *out_privileges_size is 0.
 */
KV_EXPORT BOOL KvAccessCheck(PSECURITY_DESCRIPTOR descriptor, HANDLE token, DWORD desired_access,
                             PGENERIC_MAPPING mapping, PPRIVILEGE_SET privileges, LPDWORD out_privileges_size,
                             LPDWORD out_granted_access, LPBOOL out_status);

/*
 * The login name of the user for whom the thread works. *length is the room on entry and what was written on
 * success, in characters, the terminator counted in both. FALSE with the last error ERROR_INSUFFICIENT_BUFFER
 * (*length is the room needed), ERROR_NO_SUCH_USER, ERROR_NOT_ENOUGH_MEMORY or ERROR_INVALID_PARAMETER.
 */
KV_EXPORT BOOL KvGetImpersonatedUserNameW(LPWSTR name, LPDWORD length);
KV_EXPORT BOOL KvGetImpersonatedUserNameA(LPSTR name, LPDWORD length);

/*
 * The same with the user's domain, lengths counted alike. TRUE with the last error 0, or FALSE with that of
 * KvGetImpersonatedUserNameW, ERROR_MORE_DATA (*domain_length is the room needed), ERROR_NOT_FOUND (the user is
 * unknown to the registry's implementation), or the numbers of E_ACCESSDENIED, E_FAIL, and E_UNEXPECTED for any other
 * status of it.
 *
 * A truncates each wide character to its low byte; it takes no account of the code page. It throws std::bad_alloc
 * when there is no memory.
 */
KV_EXPORT BOOL KvGetImpersonatedUserNameExW(LPWSTR name, LPDWORD name_length, LPWSTR domain, LPDWORD domain_length);
KV_EXPORT BOOL KvGetImpersonatedUserNameExA(LPSTR name, LPDWORD name_length, LPSTR domain, LPDWORD domain_length);

/*
 * Asks the registry's implementation for the domain of a user; its status comes back unchanged. The implementation
 * in this process knows the users of this host, whose domain is the host's name: 0, 0x105 (the domain does not fit),
 * 0xC0000225 (no such user); *domain_length, the terminator counted, is set with the first two. Start-up must have
 * bound the implementation.
 */
KV_EXPORT NTSTATUS KvGetImpersonatedUserInfo(const wchar_t* name, wchar_t* domain, DWORD* domain_length);

/* As OpenProcessToken and OpenThreadToken; 0, or the last error when they fail. */
KV_EXPORT NTSTATUS NtOpenProcessToken(HANDLE process, ACCESS_MASK access, PHANDLE out_token);
KV_EXPORT NTSTATUS NtOpenThreadToken(HANDLE thread, ACCESS_MASK access, BOOLEAN open_as_self, PHANDLE out_token);

/* As GetTokenInformation; 0, STATUS_BUFFER_TOO_SMALL for a buffer that is too small, else the last error. */
KV_EXPORT NTSTATUS NtQueryInformationToken(HANDLE token, TOKEN_INFORMATION_CLASS information_class, PVOID buffer,
                                           ULONG size, PULONG out_size);

KV_END_C

#endif
