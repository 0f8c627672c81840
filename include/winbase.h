/*
 * Kernel functions of libkernel32: modules, critical sections, thread-local storage, text conversion, time,
 * events and waits, and the last error.
 *
 * Every function may be called from any thread. A function sets the last error only where its text says so.
 */
#ifndef KELVANE_WINBASE_H
#define KELVANE_WINBASE_H

#include "windef.h"
#include "winerror.h"
#include "winnt.h"

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)
#define INFINITE 0xFFFFFFFFu
#define TLS_OUT_OF_INDEXES 0xFFFFFFFFu
#define MAX_COMPUTERNAME_LENGTH 15

/* Code pages of MultiByteToWideChar: the environment's, and UTF-8. */
#define CP_ACP 0u
#define CP_UTF8 65001u
#define MB_PRECOMPOSED 0x00000001u
#define MB_ERR_INVALID_CHARS 0x00000008u

KV_BEGIN_C

typedef struct _SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

typedef struct _SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek; /* 0 is Sunday */
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

/*
 * A recursive lock of 40 bytes. Its fields are the library's; initialise it before use and delete it after.
 */
typedef struct _RTL_CRITICAL_SECTION {
  PVOID Lock;
  ULONG_PTR Reserved[4];
} RTL_CRITICAL_SECTION, CRITICAL_SECTION, *PCRITICAL_SECTION, *LPCRITICAL_SECTION;

KV_EXPORT void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
KV_EXPORT void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
KV_EXPORT void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);
KV_EXPORT void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section);

/* The calling thread's last error; 0 in a new thread. */
KV_EXPORT DWORD WINAPI GetLastError(void);
KV_EXPORT void WINAPI SetLastError(DWORD code);

/*
 * Loads the shared object that carries exactly this file name, such as "advapi32impl.dll", or, when the name has no
 * dot, this name with ".dll". A name without "/" is searched in the folders of KVMODULE_PATH (separated by ":"), then
 * in "kelvane/" beside libkernel32.so, then along the loader's own path; a name with "/" is taken as it stands. The
 * same file gives the same module. Null when no such object can be loaded: the last error is then ERROR_MOD_NOT_FOUND
 * and KvModuleError() tells the reason.
 */
KV_EXPORT HMODULE WINAPI LoadLibraryA(LPCSTR name);

/* The address of a symbol with C linkage in the module itself, or null with the last error
 * ERROR_PROC_NOT_FOUND. */
KV_EXPORT FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);

/*
 * The full path of a module's file; a null module is the program. Returns the number of characters without
 * the terminator. A path that does not fit is cut to size - 1 characters and terminated, and size is
 * returned with the last error ERROR_INSUFFICIENT_BUFFER. 0 for an unknown module (ERROR_INVALID_HANDLE) or
 * a size of 0.
 */
KV_EXPORT DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size);

/*
 * Thread-local storage. TlsAlloc gives an index, or TLS_OUT_OF_INDEXES when all are taken (last error
 * ERROR_NOT_ENOUGH_MEMORY); a value is null in every thread until it is set. The setter and TlsFree answer
 * FALSE for an index that is not allocated (ERROR_INVALID_PARAMETER); the getter then answers null with that
 * error and clears the last error on success, since null is a value.
 */
KV_EXPORT DWORD WINAPI TlsAlloc(void);
KV_EXPORT BOOL WINAPI TlsSetValue(DWORD index, LPVOID value);
KV_EXPORT LPVOID WINAPI TlsGetValue(DWORD index);
KV_EXPORT BOOL WINAPI TlsFree(DWORD index);

/*
 * Converts text of a code page to wide characters. source_size is in bytes (-1: up to and including the
 * terminator), room is in characters; with room 0 only the number of characters needed is returned. Exactly
 * the given length is converted, zero bytes included. Returns the number of characters written; 0 with the
 * last error ERROR_INVALID_PARAMETER (a size of 0 or a null pointer), ERROR_INSUFFICIENT_BUFFER (the text
 * does not fit) or, with MB_ERR_INVALID_CHARS, ERROR_NO_UNICODE_TRANSLATION. Without that flag an
 * undecodable byte b becomes U+DC00 + b.
 */
KV_EXPORT int WINAPI MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR source, int source_size,
                                         LPWSTR destination, int room);

/* The local date and time. */
KV_EXPORT void WINAPI GetLocalTime(LPSYSTEMTIME time);

/*
 * The host's name. *size is the room in characters with the terminator on entry and the length without it on
 * success. FALSE when it does not fit: *size is then the room needed and the last error
 * ERROR_BUFFER_OVERFLOW.
 */
KV_EXPORT BOOL WINAPI GetComputerNameA(LPSTR name, LPDWORD size);

/* Adds 1 atomically, as a full barrier; returns the new value. */
KV_EXPORT LONG WINAPI InterlockedIncrement(LONG volatile* value);

/*
 * Events, processes and waiting for them.
 *
 * A HANDLE from these functions belongs to the caller, who closes it with CloseHandle; the end of the process closes
 * what is left. It is a number of this process: a stale one is refused with ERROR_INVALID_HANDLE, and so is one whose
 * descriptor the program has closed behind the library's back. A forked child has copies of all handles, which count
 * like handles of its own; a program that is started gets none, whatever bInheritHandle says.
 */
#define MAXIMUM_WAIT_OBJECTS 64u
#define WAIT_OBJECT_0 0u
#define WAIT_FAILED 0xFFFFFFFFu

#define EVENT_QUERY_STATE 0x0001u
#define EVENT_MODIFY_STATE 0x0002u
#define EVENT_ALL_ACCESS 0x001F0003u

#define PROCESS_TERMINATE 0x0001u
#define PROCESS_DUP_HANDLE 0x0040u
#define PROCESS_SET_INFORMATION 0x0200u
#define PROCESS_QUERY_INFORMATION 0x0400u
#define PROCESS_QUERY_LIMITED_INFORMATION 0x1000u
#define PROCESS_ALL_ACCESS 0x001FFFFFu

/*
 * A new event, or the one that has this name already in any process of the user; the handle has all rights. An event
 * that is reset manually stays signalled until ResetEvent; any other lets one waiter go and is not signalled then. Kind
 * and initial state are those of the first creator. Without a name, or with an empty one, the event is known by its
 * handle alone.
 *
 * A name has up to 260 characters, every one of which counts, "\\" and "/" included; letters differ by case. A and W
 * names meet. Events of one name are one event in all processes of a user with the same temporary directory, as long as
 * any of them has a handle; the end of a process, however it ends, closes its handles.
 *
 * On success the last error is ERROR_SUCCESS, or ERROR_ALREADY_EXISTS when the event was there. Null with
 * ERROR_FILENAME_EXCED_RANGE (name too long), ERROR_ACCESS_DENIED (the folder of events in the temporary directory is
 * not the user's own), ERROR_PATH_NOT_FOUND (there is no temporary directory), ERROR_TOO_MANY_OPEN_FILES,
 * ERROR_NOT_ENOUGH_MEMORY, ERROR_DISK_FULL, or what else the system refuses. attributes are not looked at.
 */
KV_EXPORT HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state,
                                     LPCSTR name);
KV_EXPORT HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manual_reset, BOOL initial_state,
                                     LPCWSTR name);

/*
 * The event of this name, with the rights that are asked for: SYNCHRONIZE to wait, EVENT_MODIFY_STATE to set and reset.
 * Null with ERROR_FILE_NOT_FOUND when nobody has such an event, ERROR_INVALID_PARAMETER for a null name,
 * ERROR_INVALID_NAME for an empty one, else as CreateEvent.
 */
KV_EXPORT HANDLE WINAPI OpenEventA(DWORD access, BOOL inherit, LPCSTR name);
KV_EXPORT HANDLE WINAPI OpenEventW(DWORD access, BOOL inherit, LPCWSTR name);

/*
 * Makes an event signalled, or not. FALSE with ERROR_INVALID_HANDLE, or ERROR_ACCESS_DENIED for a handle without
 * EVENT_MODIFY_STATE. A waiter may miss an event that is set and reset again at once.
 */
KV_EXPORT BOOL WINAPI SetEvent(HANDLE event);
KV_EXPORT BOOL WINAPI ResetEvent(HANDLE event);

/*
 * A handle of a running process, or of one that has ended but was not waited for by its parent; SYNCHRONIZE is needed
 * to wait for its end. Null with ERROR_INVALID_PARAMETER when there is no such process.
 */
KV_EXPORT HANDLE WINAPI OpenProcess(DWORD access, BOOL inherit, DWORD process_id);

/*
 * Waits until an object is signalled: an event as told above, a process once it has ended. milliseconds is the longest
 * time; 0 only looks, INFINITE waits for ever. Returns WAIT_OBJECT_0 plus the index of the first object of the array
 * that is signalled or, with wait_all, WAIT_OBJECT_0 once all of them are at the same time, none of which has lost its
 * signal before; WAIT_TIMEOUT; or WAIT_FAILED with ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED (no SYNCHRONIZE),
 * ERROR_NOT_ENOUGH_MEMORY, or ERROR_INVALID_PARAMETER (no or more than MAXIMUM_WAIT_OBJECTS handles, or one twice with
 * wait_all). A handle that is closed meanwhile is waited for all the same. The last error stays as it is on success.
 */
KV_EXPORT DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds);
KV_EXPORT DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL wait_all, DWORD milliseconds);

/* Closes a handle. FALSE with ERROR_INVALID_HANDLE. The current process and the process's token are no handles that
 * need closing: TRUE, and nothing is done. */
KV_EXPORT BOOL WINAPI CloseHandle(HANDLE object);

#if defined(UNICODE) || defined(_UNICODE)
#define CreateEvent CreateEventW
#define OpenEvent OpenEventW
#else
#define CreateEvent CreateEventA
#define OpenEvent OpenEventA
#endif

/* ==== Security identifiers, access-control lists and security descriptors ==== */

/*
 * They work on the caller's memory, wherever it lies, and ask nobody: nothing here grants or refuses access.
 * Results are TRUE or FALSE unless told otherwise; a failure leaves the caller's data as it was. None sets the
 * last error, but for MakeAbsoluteSD and MakeSelfRelativeSD. A pointer may be null only where the text says so.
 * Any thread may call them; a list or descriptor that is being changed belongs to one thread.
 *
 * A SID's length is 8 + 4 for each sub-authority that it counts; nothing else is looked at to find it.
 */

/*
 * Allocates a SID with the first count of eight sub-authorities, for FreeSid (or free) to release. A count above
 * 8 is not refused: the sub-authorities beyond the eighth are 0. The memory is not checked for.
 */
KV_EXPORT BOOL WINAPI AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD first,
                                               DWORD second, DWORD third, DWORD fourth, DWORD fifth, DWORD sixth,
                                               DWORD seventh, DWORD eighth, PSID* out_sid);

/* Releases what AllocateAndInitializeSid gave; null is borne. Returns null. */
KV_EXPORT PVOID WINAPI FreeSid(PSID sid);

/*
 * Clears the first 12 bytes, also of a SID without sub-authorities, and writes revision, authority and count; any
 * count is taken. Sub-authorities but the first are left as they were. TRUE.
 */
KV_EXPORT BOOL WINAPI InitializeSid(PSID sid, PSID_IDENTIFIER_AUTHORITY authority, BYTE count);

/* FALSE when source needs more than destination_size bytes. A null source copies nothing and is TRUE. */
KV_EXPORT BOOL WINAPI CopySid(DWORD destination_size, PSID destination, PSID source);

/* Whether both are byte for byte the same; FALSE when one is null. */
KV_EXPORT BOOL WINAPI EqualSid(PSID first, PSID second);

/*
 * Whether both are the same but for their last sub-authority. SIDs of different counts never are; of two without
 * sub-authorities only the first four bytes are compared. FALSE when one is null.
 */
KV_EXPORT BOOL WINAPI EqualPrefixSid(PSID first, PSID second);

/* The length in bytes of a SID (0 for null), and of one with count sub-authorities. */
KV_EXPORT DWORD WINAPI GetLengthSid(PSID sid);
KV_EXPORT DWORD WINAPI GetSidLengthRequired(UCHAR count);

/* Addresses inside the SID. The index is not held against the count. */
KV_EXPORT PSID_IDENTIFIER_AUTHORITY WINAPI GetSidIdentifierAuthority(PSID sid);
KV_EXPORT PDWORD WINAPI GetSidSubAuthority(PSID sid, DWORD index);
KV_EXPORT PUCHAR WINAPI GetSidSubAuthorityCount(PSID sid);

/* Whether the revision is 1 and the count at most 15. */
KV_EXPORT BOOL WINAPI IsValidSid(PSID sid);

/*
 * Access-control lists. The bytes in use are 8 and the AceSize of each of the AceCount entries, found by walking
 * them; the free bytes are AclSize less those. The walks believe AceCount and AceSize: before a list from
 * elsewhere goes to GetAce, FindFirstFreeAce, GetAclInformation or a descriptor, give it to IsValidAcl.
 */

/*
 * Makes an empty list of size bytes, of which the low 16 bits are kept. FALSE for a null list, a size below 8 or a
 * revision other than ACL_REVISION.
 */
KV_EXPORT BOOL WINAPI InitializeAcl(PACL acl, DWORD size, DWORD revision);

/* Whether the revision is ACL_REVISION and the bytes in use are no more than AclSize. */
KV_EXPORT BOOL WINAPI IsValidAcl(PACL acl);

/*
 * Append an entry behind all others. FALSE for a null list or SID, a revision other than ACL_REVISION, or fewer
 * free bytes than the SID has: the 8 bytes before the SID are not counted, so a list may be overrun by up to 8
 * bytes. Keep 8 bytes behind the list, or count them yourself before the last entry.
 */
KV_EXPORT BOOL WINAPI AddAccessAllowedAce(PACL acl, DWORD revision, DWORD mask, PSID sid);
KV_EXPORT BOOL WINAPI AddAccessDeniedAce(PACL acl, DWORD revision, DWORD mask, PSID sid);
KV_EXPORT BOOL WINAPI AddAuditAccessAce(PACL acl, DWORD revision, DWORD mask, PSID sid, BOOL audit_success,
                                        BOOL audit_failure);

/*
 * Adds a list of entries of list_size bytes. With an index of AceCount or more (0xFFFFFFFF is usual) it is
 * appended; an index inside the list does not insert: it moves what stands behind that entry to list_size
 * bytes behind the entry's beginning. AceCount grows by one, whatever the list holds. The revision is ignored.
 * FALSE for a null list, less than 4 bytes, or fewer free bytes than that.
 */
KV_EXPORT BOOL WINAPI AddAce(PACL acl, DWORD revision, DWORD index, LPVOID list, DWORD list_size);

/*
 * Removes the entry of this number; 1 is the first. The free bytes are cleared. Number 0 removes no entry and
 * still lowers AceCount by one, also from 0 to 65535. FALSE for a null list, a number above AceCount or negative
 * as a LONG, or when there is no memory.
 */
KV_EXPORT BOOL WINAPI DeleteAce(PACL acl, DWORD number);

/* The entry of this number; 1 is the first, and so is 0. FALSE for a null list or a number above AceCount. */
KV_EXPORT BOOL WINAPI GetAce(PACL acl, DWORD number, LPVOID* out_ace);

/* The address behind the last entry, null for a null list. FALSE always: look at the address. */
KV_EXPORT BOOL WINAPI FindFirstFreeAce(PACL acl, LPVOID* out_ace);

/*
 * Fills an ACL_REVISION_INFORMATION (class 1) or ACL_SIZE_INFORMATION (class 2). FALSE for a null buffer, one that
 * is too small, or another class.
 */
KV_EXPORT BOOL WINAPI GetAclInformation(PACL acl, LPVOID buffer, DWORD size, ACL_INFORMATION_CLASS information);

/*
 * Stores the low byte of an ACL_REVISION_INFORMATION as the list's revision, whichever, and whatever the class.
 * FALSE for a null list or buffer, or a size other than 4.
 */
KV_EXPORT BOOL WINAPI SetAclInformation(PACL acl, LPVOID buffer, DWORD size, ACL_INFORMATION_CLASS information);

/*
 * Security descriptors. The getters hand out the fields as they stand, offsets of a self-relative descriptor
 * included, with the control bits by their own values (4, not 1, for a DACL that is present); they check nothing
 * and are TRUE. The setters are FALSE for null or a self-relative descriptor. Parts stay the caller's.
 */

/* Clears the 40 bytes. FALSE for a revision other than SECURITY_DESCRIPTOR_REVISION; they are cleared all the same. */
KV_EXPORT BOOL WINAPI InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision);

KV_EXPORT BOOL WINAPI GetSecurityDescriptorControl(PSECURITY_DESCRIPTOR descriptor,
                                                   PSECURITY_DESCRIPTOR_CONTROL out_control, LPDWORD out_revision);
KV_EXPORT BOOL WINAPI GetSecurityDescriptorOwner(PSECURITY_DESCRIPTOR descriptor, PSID* out_owner,
                                                 LPBOOL out_defaulted);
KV_EXPORT BOOL WINAPI GetSecurityDescriptorGroup(PSECURITY_DESCRIPTOR descriptor, PSID* out_group,
                                                 LPBOOL out_defaulted);
KV_EXPORT BOOL WINAPI GetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL out_present, PACL* out_dacl,
                                                LPBOOL out_defaulted);
KV_EXPORT BOOL WINAPI GetSecurityDescriptorSacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL out_present, PACL* out_sacl,
                                                LPBOOL out_defaulted);

/* Without `present` the last two clear the present bit only: list and defaulted bit stay as they were. */
KV_EXPORT BOOL WINAPI SetSecurityDescriptorOwner(PSECURITY_DESCRIPTOR descriptor, PSID owner, BOOL defaulted);
KV_EXPORT BOOL WINAPI SetSecurityDescriptorGroup(PSECURITY_DESCRIPTOR descriptor, PSID group, BOOL defaulted);
KV_EXPORT BOOL WINAPI SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl,
                                                BOOL defaulted);
KV_EXPORT BOOL WINAPI SetSecurityDescriptorSacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL sacl,
                                                BOOL defaulted);

/*
 * GetSecurityDescriptorLength: 40, the lengths of owner and group, and the bytes in use of both lists. That is less
 * than MakeSelfRelativeSD needs when a list has free bytes. IsValidSecurityDescriptor: whether the revisions are 1
 * for the descriptor and its SIDs and ACL_REVISION for its lists. Both, and MakeAbsoluteSD, are for absolute
 * descriptors: given a self-relative one they add its address to the words at the stored offsets, taken as
 * addresses, which as a rule is a fault.
 */
KV_EXPORT DWORD WINAPI GetSecurityDescriptorLength(PSECURITY_DESCRIPTOR descriptor);
KV_EXPORT BOOL WINAPI IsValidSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor);

/*
 * Writes the self-relative form. *size is the room in bytes; when it is too small it becomes the size needed, with
 * the last error ERROR_INSUFFICIENT_BUFFER, and is left alone otherwise. FALSE without a last error for null, for
 * source and destination being one, and for a source that is self-relative already.
 */
KV_EXPORT BOOL WINAPI MakeSelfRelativeSD(PSECURITY_DESCRIPTOR absolute, PSECURITY_DESCRIPTOR self_relative,
                                         LPDWORD size);

/*
 * Copies an absolute descriptor and each of its parts into buffers of the caller's. Sizes are in bytes; those of
 * absent parts are not looked at. A part whose buffer is too small has its size told, with the last error
 * ERROR_INSUFFICIENT_BUFFER, and nothing is copied. FALSE without a last error for null, for a part without a
 * buffer, and for a header without room, whose size 40 is told.
 */
KV_EXPORT BOOL WINAPI MakeAbsoluteSD(PSECURITY_DESCRIPTOR descriptor, PSECURITY_DESCRIPTOR absolute,
                                     LPDWORD absolute_size, PACL dacl, LPDWORD dacl_size, PACL sacl, LPDWORD sacl_size,
                                     PSID owner, LPDWORD owner_size, PSID group, LPDWORD group_size);

/* Writes "Called DeregisterEventSource" to the library's call log, when it has one; FALSE. */
KV_EXPORT BOOL WINAPI DeregisterEventSource(HANDLE event_log);

/* ==== Access tokens and access checks ==== */

/*
 * A token here is a number. The plain functions give and know one token, 1, which says nothing about anybody; a
 * service that asks who its client is uses the functions of kelvane/token.h, whose token is a Unix uid.
 *
 * AccessCheck and PrivilegeCheck GRANT EVERYTHING. They are here for programs that call them in passing; whoever
 * depends on a check calls KvAccessCheck. Any thread may call these functions.
 */

/* Store the token 1, whatever the arguments. TRUE. The token need not be closed. */
KV_EXPORT BOOL WINAPI OpenProcessToken(HANDLE process, DWORD access, PHANDLE out_token);
KV_EXPORT BOOL WINAPI OpenThreadToken(HANDLE thread, DWORD access, BOOL open_as_self, PHANDLE out_token);

/*
 * Asks about a token; size is the buffer's in bytes. Any number is a token.
 *
 *   TokenUser (16 bytes)         a SID of the authority 5 without sub-authorities, for the caller to release with
 *                                FreeSid, and the attributes 0
 *   TokenStatistics (56 bytes)   the token's number as AuthenticationId; nothing else of the record is written
 *   TokenGroups (24 bytes), TokenPrivileges (16), TokenOwner, TokenPrimaryGroup, TokenDefaultDacl (8 each),
 *   TokenSource (16), TokenType, TokenImpersonationLevel (4 each)
 *                                nothing is written
 *
 * TRUE; *out_size is not written then. FALSE with the last error ERROR_INSUFFICIENT_BUFFER when the buffer is
 * smaller than told above, which *out_size then says, or ERROR_INVALID_PARAMETER for any other class.
 */
KV_EXPORT BOOL WINAPI GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS information_class, LPVOID buffer,
                                          DWORD size, PDWORD out_size);

/*
 * An id that no other call in any process gets until the machine is started again. TRUE, or FALSE with the last
 * error ERROR_INVALID_PARAMETER for null.
 */
KV_EXPORT BOOL WINAPI AllocateLocallyUniqueId(PLUID out_id);

/*
 * Grants: the granted access is the desired one, the status TRUE, the length of the privilege set 0. Looks at
 * nothing else and reports the call (kelvane/report.h). TRUE.
 */
KV_EXPORT BOOL WINAPI AccessCheck(PSECURITY_DESCRIPTOR descriptor, HANDLE token, DWORD desired_access,
                                  PGENERIC_MAPPING mapping, PPRIVILEGE_SET privileges, LPDWORD privileges_size,
                                  LPDWORD out_granted_access, LPBOOL out_status);

/* Stores TRUE: every privilege is held. Reports the call. TRUE. */
KV_EXPORT BOOL WINAPI PrivilegeCheck(HANDLE token, PPRIVILEGE_SET privileges, LPBOOL out_result);

KV_END_C

#if !defined(UNICODE) && !defined(_UNICODE)
#define GetModuleFileName GetModuleFileNameA
#define GetComputerName GetComputerNameA
#endif

/* Headers that belong to this one. */
#include "kelvane/base_services.h"
#include "securitybaseapi.h"

#endif
