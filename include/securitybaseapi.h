/*
 * Security functions that only report: tokens, privileges, accounts, descriptors of files and kernel objects, audit
 * alarms. winbase.h includes it.
 *
 * None of them does anything. Each reports its call (see KvStub in kelvane/report.h) and returns a fixed value: 0
 * (FALSE) unless its own text says otherwise. None sets the last error, reads its arguments or touches an output. Any
 * thread may call them.
 */
#ifndef KELVANE_SECURITYBASEAPI_H
#define KELVANE_SECURITYBASEAPI_H

#include "winnt.h"

KV_BEGIN_C

/* Tokens and impersonation. */
KV_EXPORT BOOL WINAPI AdjustTokenGroups(HANDLE token, BOOL reset_to_default, PTOKEN_GROUPS new_state, DWORD size,
                                        PTOKEN_GROUPS previous_state, PDWORD out_size);
KV_EXPORT BOOL WINAPI AdjustTokenPrivileges(HANDLE token, BOOL disable_all, PTOKEN_PRIVILEGES new_state, DWORD size,
                                            PTOKEN_PRIVILEGES previous_state, PDWORD out_size);
KV_EXPORT BOOL WINAPI DuplicateToken(HANDLE token, SECURITY_IMPERSONATION_LEVEL level, PHANDLE out_token);
KV_EXPORT BOOL WINAPI ImpersonateNamedPipeClient(HANDLE pipe);
KV_EXPORT BOOL WINAPI ImpersonateSelf(SECURITY_IMPERSONATION_LEVEL level);
KV_EXPORT BOOL WINAPI RevertToSelf(void);
KV_EXPORT BOOL WINAPI SetThreadToken(PHANDLE thread, HANDLE token);
KV_EXPORT BOOL WINAPI SetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS information_class, LPVOID information,
                                          DWORD size);

/* Rights. MapGenericMask leaves the mask as it is. */
KV_EXPORT BOOL WINAPI AreAllAccessesGranted(DWORD granted_access, DWORD desired_access);
KV_EXPORT BOOL WINAPI AreAnyAccessesGranted(DWORD granted_access, DWORD desired_access);
KV_EXPORT VOID WINAPI MapGenericMask(PDWORD access_mask, PGENERIC_MAPPING generic_mapping);

/* Accounts and privileges by name and identifier. */
KV_EXPORT BOOL WINAPI LookupAccountNameA(LPCSTR system_name, LPCSTR account_name, PSID sid, LPDWORD sid_size,
                                         LPSTR domain_name, LPDWORD domain_name_size, PSID_NAME_USE out_use);
KV_EXPORT BOOL WINAPI LookupAccountNameW(LPCWSTR system_name, LPCWSTR account_name, PSID sid, LPDWORD sid_size,
                                         LPWSTR domain_name, LPDWORD domain_name_size, PSID_NAME_USE out_use);
KV_EXPORT BOOL WINAPI LookupAccountSidA(LPCSTR system_name, PSID sid, LPSTR name, LPDWORD name_size, LPSTR domain_name,
                                        LPDWORD domain_name_size, PSID_NAME_USE out_use);
KV_EXPORT BOOL WINAPI LookupAccountSidW(LPCWSTR system_name, PSID sid, LPWSTR name, LPDWORD name_size,
                                        LPWSTR domain_name, LPDWORD domain_name_size, PSID_NAME_USE out_use);
KV_EXPORT BOOL WINAPI LookupPrivilegeDisplayNameA(LPCSTR system_name, LPCSTR name, LPSTR display_name,
                                                  LPDWORD display_name_size, LPDWORD out_language_id);
KV_EXPORT BOOL WINAPI LookupPrivilegeDisplayNameW(LPCWSTR system_name, LPCWSTR name, LPWSTR display_name,
                                                  LPDWORD display_name_size, LPDWORD out_language_id);
KV_EXPORT BOOL WINAPI LookupPrivilegeNameA(LPCSTR system_name, PLUID luid, LPSTR name, LPDWORD name_size);
KV_EXPORT BOOL WINAPI LookupPrivilegeNameW(LPCWSTR system_name, PLUID luid, LPWSTR name, LPDWORD name_size);
KV_EXPORT BOOL WINAPI LookupPrivilegeValueA(LPCSTR system_name, LPCSTR name, PLUID out_luid);
KV_EXPORT BOOL WINAPI LookupPrivilegeValueW(LPCWSTR system_name, LPCWSTR name, PLUID out_luid);

/* Security descriptors of private objects, files and kernel objects. */
KV_EXPORT BOOL WINAPI CreatePrivateObjectSecurity(PSECURITY_DESCRIPTOR parent, PSECURITY_DESCRIPTOR creator,
                                                  PSECURITY_DESCRIPTOR* out_descriptor, BOOL is_directory_object,
                                                  HANDLE token, PGENERIC_MAPPING generic_mapping);
KV_EXPORT BOOL WINAPI DestroyPrivateObjectSecurity(PSECURITY_DESCRIPTOR* descriptor);
KV_EXPORT BOOL WINAPI GetPrivateObjectSecurity(PSECURITY_DESCRIPTOR object, SECURITY_INFORMATION information,
                                               PSECURITY_DESCRIPTOR descriptor, DWORD size, PDWORD out_size);
KV_EXPORT BOOL WINAPI SetPrivateObjectSecurity(SECURITY_INFORMATION information, PSECURITY_DESCRIPTOR modification,
                                               PSECURITY_DESCRIPTOR* object, PGENERIC_MAPPING generic_mapping,
                                               HANDLE token);
KV_EXPORT BOOL WINAPI GetFileSecurityA(LPCSTR file_name, SECURITY_INFORMATION information,
                                       PSECURITY_DESCRIPTOR descriptor, DWORD size, LPDWORD out_size);
KV_EXPORT BOOL WINAPI GetFileSecurityW(LPCWSTR file_name, SECURITY_INFORMATION information,
                                       PSECURITY_DESCRIPTOR descriptor, DWORD size, LPDWORD out_size);
KV_EXPORT BOOL WINAPI SetFileSecurityA(LPCSTR file_name, SECURITY_INFORMATION information,
                                       PSECURITY_DESCRIPTOR descriptor);
KV_EXPORT BOOL WINAPI SetFileSecurityW(LPCWSTR file_name, SECURITY_INFORMATION information,
                                       PSECURITY_DESCRIPTOR descriptor);
KV_EXPORT BOOL WINAPI GetKernelObjectSecurity(HANDLE object, SECURITY_INFORMATION information,
                                              PSECURITY_DESCRIPTOR descriptor, DWORD size, LPDWORD out_size);
KV_EXPORT BOOL WINAPI SetKernelObjectSecurity(HANDLE object, SECURITY_INFORMATION information,
                                              PSECURITY_DESCRIPTOR descriptor);

/* Audit alarms. PrivilegedServiceAuditAlarmA returns 1 and its wide form 0. */
KV_EXPORT BOOL WINAPI AccessCheckAndAuditAlarmA(LPCSTR subsystem_name, LPVOID handle_id, LPSTR object_type_name,
                                                LPSTR object_name, PSECURITY_DESCRIPTOR descriptor,
                                                DWORD desired_access, PGENERIC_MAPPING generic_mapping,
                                                BOOL object_creation, LPDWORD granted_access, LPBOOL access_status,
                                                LPBOOL generate_on_close);
KV_EXPORT BOOL WINAPI AccessCheckAndAuditAlarmW(LPCWSTR subsystem_name, LPVOID handle_id, LPWSTR object_type_name,
                                                LPWSTR object_name, PSECURITY_DESCRIPTOR descriptor,
                                                DWORD desired_access, PGENERIC_MAPPING generic_mapping,
                                                BOOL object_creation, LPDWORD granted_access, LPBOOL access_status,
                                                LPBOOL generate_on_close);
KV_EXPORT BOOL WINAPI ObjectCloseAuditAlarmA(LPCSTR subsystem_name, LPVOID handle_id, BOOL generate_on_close);
KV_EXPORT BOOL WINAPI ObjectCloseAuditAlarmW(LPCWSTR subsystem_name, LPVOID handle_id, BOOL generate_on_close);
KV_EXPORT BOOL WINAPI ObjectOpenAuditAlarmA(LPCSTR subsystem_name, LPVOID handle_id, LPSTR object_type_name,
                                            LPSTR object_name, PSECURITY_DESCRIPTOR descriptor, HANDLE client_token,
                                            DWORD desired_access, DWORD granted_access, PPRIVILEGE_SET privileges,
                                            BOOL object_creation, BOOL access_granted, LPBOOL generate_on_close);
KV_EXPORT BOOL WINAPI ObjectOpenAuditAlarmW(LPCWSTR subsystem_name, LPVOID handle_id, LPWSTR object_type_name,
                                            LPWSTR object_name, PSECURITY_DESCRIPTOR descriptor, HANDLE client_token,
                                            DWORD desired_access, DWORD granted_access, PPRIVILEGE_SET privileges,
                                            BOOL object_creation, BOOL access_granted, LPBOOL generate_on_close);
KV_EXPORT BOOL WINAPI ObjectPrivilegeAuditAlarmA(LPCSTR subsystem_name, LPVOID handle_id, HANDLE client_token,
                                                 DWORD desired_access, PPRIVILEGE_SET privileges, BOOL access_granted);
KV_EXPORT BOOL WINAPI ObjectPrivilegeAuditAlarmW(LPCWSTR subsystem_name, LPVOID handle_id, HANDLE client_token,
                                                 DWORD desired_access, PPRIVILEGE_SET privileges, BOOL access_granted);
KV_EXPORT BOOL WINAPI PrivilegedServiceAuditAlarmA(LPCSTR subsystem_name, LPCSTR service_name, HANDLE client_token,
                                                   PPRIVILEGE_SET privileges, BOOL access_granted);
KV_EXPORT BOOL WINAPI PrivilegedServiceAuditAlarmW(LPCWSTR subsystem_name, LPCWSTR service_name, HANDLE client_token,
                                                   PPRIVILEGE_SET privileges, BOOL access_granted);

KV_END_C

#if defined(UNICODE) || defined(_UNICODE)
#define KV_SECURITY_FORM(name) name##W
#else
#define KV_SECURITY_FORM(name) name##A
#endif
#define LookupAccountName KV_SECURITY_FORM(LookupAccountName)
#define LookupAccountSid KV_SECURITY_FORM(LookupAccountSid)
#define LookupPrivilegeDisplayName KV_SECURITY_FORM(LookupPrivilegeDisplayName)
#define LookupPrivilegeName KV_SECURITY_FORM(LookupPrivilegeName)
#define LookupPrivilegeValue KV_SECURITY_FORM(LookupPrivilegeValue)
#define GetFileSecurity KV_SECURITY_FORM(GetFileSecurity)
#define SetFileSecurity KV_SECURITY_FORM(SetFileSecurity)
#define AccessCheckAndAuditAlarm KV_SECURITY_FORM(AccessCheckAndAuditAlarm)
#define ObjectCloseAuditAlarm KV_SECURITY_FORM(ObjectCloseAuditAlarm)
#define ObjectOpenAuditAlarm KV_SECURITY_FORM(ObjectOpenAuditAlarm)
#define ObjectPrivilegeAuditAlarm KV_SECURITY_FORM(ObjectPrivilegeAuditAlarm)
#define PrivilegedServiceAuditAlarm KV_SECURITY_FORM(PrivilegedServiceAuditAlarm)

#endif
