/*
 * Native functions that only report: each reports its call (see KvStub in kelvane/report.h) and returns 0, reads no
 * argument, touches no output and sets no last error. Any thread may call them.
 */
#ifndef KELVANE_WINTERNL_H
#define KELVANE_WINTERNL_H

#include "ntsecapi.h"

typedef LSA_UNICODE_STRING UNICODE_STRING, *PUNICODE_STRING;
typedef LSA_OBJECT_ATTRIBUTES OBJECT_ATTRIBUTES, *POBJECT_ATTRIBUTES;

KV_BEGIN_C

KV_EXPORT NTSTATUS NTAPI RtlAdjustPrivilege(ULONG privilege, BOOLEAN enable, BOOLEAN of_thread, PBOOLEAN out_enabled);
KV_EXPORT NTSTATUS NTAPI RtlGetAce(PACL acl, ULONG index, PVOID* out_ace);
KV_EXPORT NTSTATUS NTAPI RtlGetDaclSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, PBOOLEAN out_present,
                                                      PACL* out_acl, PBOOLEAN out_defaulted);
KV_EXPORT NTSTATUS NTAPI RtlQueryInformationAcl(PACL acl, PVOID information, ULONG size,
                                                ACL_INFORMATION_CLASS information_class);
KV_EXPORT NTSTATUS NTAPI NtDuplicateToken(HANDLE token, ACCESS_MASK access, POBJECT_ATTRIBUTES attributes,
                                          BOOLEAN effective_only, TOKEN_TYPE type, PHANDLE out_token);
KV_EXPORT NTSTATUS NTAPI NtQuerySecurityObject(HANDLE object, SECURITY_INFORMATION information,
                                               PSECURITY_DESCRIPTOR descriptor, ULONG size, PULONG out_size);
KV_EXPORT NTSTATUS NTAPI NtSetSecurityObject(HANDLE object, SECURITY_INFORMATION information,
                                             PSECURITY_DESCRIPTOR descriptor);

KV_END_C

#endif
