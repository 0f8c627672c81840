/*
 * Security beyond the functions of winbase.h: their native forms, a SID as text, descriptors as registry values,
 * and who may use and start COM servers. All have C linkage; any thread may call.
 */
#ifndef KELVANE_SECURITY_H
#define KELVANE_SECURITY_H

#include "../guiddef.h"
#include "../winbase.h"
#include "../winreg.h"

KV_BEGIN_C

/*
 * Native forms. Each calls the function of winbase.h that it is named after and tells the outcome in its own
 * way; look at the arguments rather than at the result of those that return the last error.
 */

/* 0, or 13 for a failure. */
KV_EXPORT NTSTATUS RtlAllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, UCHAR count, ULONG first,
                                               ULONG second, ULONG third, ULONG fourth, ULONG fifth, ULONG sixth,
                                               ULONG seventh, ULONG eighth, PSID* out_sid);
KV_EXPORT NTSTATUS RtlCopySid(ULONG destination_size, PSID destination, PSID source);
KV_EXPORT NTSTATUS RtlSetDaclSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, BOOLEAN present, PACL dacl,
                                                BOOLEAN defaulted);

/* TRUE or FALSE as a byte; a length in bytes. */
KV_EXPORT BOOLEAN RtlEqualSid(PSID first, PSID second);
KV_EXPORT ULONG RtlLengthSid(PSID sid);

/* The thread's last error, whatever the outcome. */
KV_EXPORT NTSTATUS RtlCreateAcl(PACL acl, ULONG size, ULONG revision);
KV_EXPORT NTSTATUS RtlAddAce(PACL acl, ULONG revision, ULONG index, PVOID list, ULONG list_size);
KV_EXPORT NTSTATUS RtlCreateSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, ULONG revision);
KV_EXPORT NTSTATUS RtlSetSaclSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL sacl,
                                                BOOL defaulted);
KV_EXPORT NTSTATUS RtlSetOwnerSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, PSID owner, BOOL defaulted);

/* 1 on success, for a failure the thread's last error. */
KV_EXPORT NTSTATUS RtlSetGroupSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, PSID group, BOOL defaulted);

/*
 * Writes a SID as "S-5-32" would be expected, but with bytes 2 to 5 of the authority as one signed number, low
 * byte first: the NT authority with sub-authority 32 is "S-83886080-32". Sub-authorities are signed too. Returns
 * 1, or 0 with nothing written for a SID that is not valid. out takes up to 194 bytes, the terminator included.
 */
KV_EXPORT int AdvPrintSid(PSID sid, char* out);

/*
 * Store a self-relative descriptor of the layer's form as a value of the registry, with any type but the three of
 * text, and read it back. Owner and group are converted into a form that every host reads; the bytes of the lists
 * are not stored. Descriptors of up to 4,096 bytes are taken.
 *
 * The value has `length` bytes, so give the descriptor's own length less 20, its length as it is stored: then a
 * query with the descriptor's own length reads it back. An absent owner or group (offset 0) is not to be stored:
 * the header is then written as that SID, over itself, and the other offset is lost. A null descriptor, or one
 * whose header cannot be read, is a fault; a SID that cannot be read is stored as zeros.
 *
 * Results are those of RegSetValueEx and RegQueryValueEx, and ERROR_INVALID_PARAMETER (87) for a length above
 * 4,096, with nothing read. Names of the wide forms are in the host's wchar_t.
 */
KV_EXPORT LSTATUS WINAPI RegSetSDExA(HKEY key, LPCSTR value_name, DWORD reserved, DWORD type,
                                     PSECURITY_DESCRIPTOR descriptor, DWORD length);
KV_EXPORT LSTATUS WINAPI RegSetSDExW(HKEY key, LPCWSTR value_name, DWORD reserved, DWORD type,
                                     PSECURITY_DESCRIPTOR descriptor, DWORD length);

/*
 * *length is the room at descriptor in bytes. It becomes the room needed with ERROR_MORE_DATA (234), and with a null
 * descriptor also on success; otherwise it stays. Without a length only an empty value can be read. Nothing is
 * written outside the room, whatever the value says.
 */
KV_EXPORT LSTATUS WINAPI RegQuerySDExA(HKEY key, LPCSTR value_name, LPDWORD reserved, LPDWORD type,
                                       PSECURITY_DESCRIPTOR descriptor, LPDWORD length);
KV_EXPORT LSTATUS WINAPI RegQuerySDExW(HKEY key, LPCWSTR value_name, LPDWORD reserved, LPDWORD type,
                                       PSECURITY_DESCRIPTOR descriptor, LPDWORD length);

/* Which permission of a COM server an edit is about, as flags: to use it, and to start it. */
#define KV_COM_ACCESS 1u
#define KV_COM_LAUNCH 2u

/* What an edit starts from. */
#define KV_COM_NEW 1u           /* everybody, whatever is stored; only for adding */
#define KV_COM_STORED 2u        /* the stored permission, which must be there; so does 0 */
#define KV_COM_STORED_OR_NEW 3u /* the stored permission, or everybody when it cannot be read */

/*
 * Adds Unix users and groups (uids, gids) to a permission of COM servers or removes them: of one application, at
 * "AppID\{...}" below HKEY_CLASSES_ROOT, or with a null application of all, at "Software\Microsoft\Ole" below
 * HKEY_LOCAL_MACHINE. The key must be there, and open to reading and writing.
 *
 * Users are taken in before groups, each list in its order; 255 of each have room. Both counts 0xFFFFFFFF together
 * mean everybody, without lists. Adding the first user or group to a permission that is open to everybody closes it
 * to all others; everybody cannot be removed. A list whose last entry is removed names nobody.
 *
 * TRUE, with the last error left alone, but for ERROR_USER_EXISTS (1316), ERROR_GROUP_EXISTS (1318) or
 * ERROR_NOT_FOUND (1168) when someone was there already, or was not there to be removed. FALSE with the last error:
 *   ERROR_INVALID_PARAMETER   which or mode is 4 or more
 *   E_INVALIDARG              removing from everybody, everybody, or from a new descriptor; a stored permission whose
 *                             parts lie outside of it
 *   REGDB_E_INVALIDVALUE      the stored value is no descriptor
 *   ERROR_OUT_OF_STRUCTURES   a list has 255 entries
 *   E_OUTOFMEMORY, ERROR_OUTOFMEMORY, and the codes of RegOpenKeyEx, RegQueryValueEx and RegSetValueEx
 * When the launch permission cannot be edited after the access permission was, that is written back as the edit
 * found it; after KV_COM_NEW, or where nothing was stored, as everybody.
 */
KV_EXPORT BOOL KvSecDescAddPrincipal(const GUID* application, const DWORD* users, DWORD user_count, const DWORD* groups,
                                     DWORD group_count, DWORD which, DWORD mode);
KV_EXPORT BOOL KvSecDescRemovePrincipal(const GUID* application, const DWORD* users, DWORD user_count,
                                        const DWORD* groups, DWORD group_count, DWORD which, DWORD mode);

KV_END_C

#if defined(UNICODE) || defined(_UNICODE)
#define RegSetSDEx RegSetSDExW
#define RegQuerySDEx RegQuerySDExW
#else
#define RegSetSDEx RegSetSDExA
#define RegQuerySDEx RegQuerySDExA
#endif

#endif
