/*
 * The local security authority.
 *
 * Most calls go to the registry's implementation library as they are, and its answer comes back unchanged; start-up
 * must have bound it. Results are NTSTATUS values. Any thread may call these functions; none sets the last error.
 * Counted strings give their lengths in bytes, and wide text is the host's wchar_t.
 *
 * What the implementation in this process answers: LsaQueryInformationPolicy for the account domain and the primary
 * domain of this machine; STATUS_NOT_SUPPORTED to logons and package calls, which never succeed.
 */
#ifndef KELVANE_NTSECAPI_H
#define KELVANE_NTSECAPI_H

#include "winnt.h"

#ifndef NTAPI
#define NTAPI
#endif

KV_BEGIN_C

typedef PVOID LSA_HANDLE, *PLSA_HANDLE;
typedef ULONG LSA_OPERATIONAL_MODE, *PLSA_OPERATIONAL_MODE;
typedef NTSTATUS* PNTSTATUS;

/* Text that need not be terminated; both lengths in bytes. */
typedef struct _LSA_UNICODE_STRING {
  USHORT Length;
  USHORT MaximumLength;
  PWSTR Buffer;
} LSA_UNICODE_STRING, *PLSA_UNICODE_STRING;

typedef struct _LSA_STRING {
  USHORT Length;
  USHORT MaximumLength;
  PCHAR Buffer;
} LSA_STRING, *PLSA_STRING;

typedef struct _LSA_OBJECT_ATTRIBUTES {
  ULONG Length;
  HANDLE RootDirectory;
  PLSA_UNICODE_STRING ObjectName;
  ULONG Attributes;
  PVOID SecurityDescriptor;
  PVOID SecurityQualityOfService;
} LSA_OBJECT_ATTRIBUTES, *PLSA_OBJECT_ATTRIBUTES;

typedef enum _SECURITY_LOGON_TYPE {
  Interactive = 2,
  Network,
  Batch,
  Service,
  Proxy,
  Unlock
} SECURITY_LOGON_TYPE,
    *PSECURITY_LOGON_TYPE;

typedef struct _QUOTA_LIMITS {
  SIZE_T PagedPoolLimit;
  SIZE_T NonPagedPoolLimit;
  SIZE_T MinimumWorkingSetSize;
  SIZE_T MaximumWorkingSetSize;
  SIZE_T PagefileLimit;
  LONGLONG TimeLimit;
} QUOTA_LIMITS, *PQUOTA_LIMITS;

typedef enum _POLICY_INFORMATION_CLASS {
  PolicyAuditLogInformation = 1,
  PolicyAuditEventsInformation,
  PolicyPrimaryDomainInformation,
  PolicyPdAccountInformation,
  PolicyAccountDomainInformation,
  PolicyLsaServerRoleInformation,
  PolicyReplicaSourceInformation,
  PolicyDefaultQuotaInformation,
  PolicyModificationInformation,
  PolicyAuditFullSetInformation,
  PolicyAuditFullQueryInformation,
  PolicyDnsDomainInformation
} POLICY_INFORMATION_CLASS,
    *PPOLICY_INFORMATION_CLASS;

typedef struct _POLICY_ACCOUNT_DOMAIN_INFO {
  LSA_UNICODE_STRING DomainName;
  PSID DomainSid;
} POLICY_ACCOUNT_DOMAIN_INFO, *PPOLICY_ACCOUNT_DOMAIN_INFO;

typedef struct _POLICY_PRIMARY_DOMAIN_INFO {
  LSA_UNICODE_STRING Name;
  PSID Sid;
} POLICY_PRIMARY_DOMAIN_INFO, *PPOLICY_PRIMARY_DOMAIN_INFO;

#define POLICY_VIEW_LOCAL_INFORMATION 0x00000001u
#define POLICY_VIEW_AUDIT_INFORMATION 0x00000002u
#define POLICY_GET_PRIVATE_INFORMATION 0x00000004u
#define POLICY_CREATE_SECRET 0x00000020u
#define POLICY_ALL_ACCESS 0x000F0FFFu

/* The one authentication package, number 0. */
#define MSV1_0_PACKAGE_NAME "MICROSOFT_AUTHENTICATION_PACKAGE_V1_0"

/* ---- Forwarded to the implementation library ---- */

/* Passed on with two null arguments more. */
KV_EXPORT NTSTATUS NTAPI LsaCallAuthenticationPackage(HANDLE lsa, ULONG package, PVOID submit_buffer,
                                                      ULONG submit_buffer_size, PVOID* out_return_buffer,
                                                      PULONG out_return_buffer_size, PNTSTATUS out_protocol_status);
KV_EXPORT NTSTATUS NTAPI LsaLogonUser(HANDLE lsa, PLSA_STRING origin_name, SECURITY_LOGON_TYPE logon_type,
                                      ULONG package, PVOID authentication, ULONG authentication_size,
                                      PTOKEN_GROUPS local_groups, PTOKEN_SOURCE source_context, PVOID* out_profile,
                                      PULONG out_profile_size, PLUID out_logon_id, PHANDLE out_token,
                                      PQUOTA_LIMITS out_quotas, PNTSTATUS out_sub_status);

/*
 * Information of one class in *out_buffer. In this process: PolicyAccountDomainInformation, with the host's name and
 * the SID S-1-5-21-0-0-0 that local accounts begin with; PolicyPrimaryDomainInformation, with the name "WORKGROUP" and
 * a null SID, since the machine is in no domain. The buffer belongs to the library and stays good. The handle is not
 * looked at. STATUS_NOT_SUPPORTED for another class of the enumeration, STATUS_INVALID_PARAMETER for any other number
 * or a null out_buffer.
 */
KV_EXPORT NTSTATUS NTAPI LsaQueryInformationPolicy(LSA_HANDLE policy, POLICY_INFORMATION_CLASS information_class,
                                                   PVOID* out_buffer);

/* ---- Answered here ---- */

/*
 * The number of an authentication package: 0 for every prefix of MSV1_0_PACKAGE_NAME, the empty name included, which
 * needs no buffer; 0xC000000D for any other name. A zero byte ends a name before its length. *out_package is 0 in
 * either case.
 */
KV_EXPORT NTSTATUS NTAPI LsaLookupAuthenticationPackage(HANDLE lsa, PLSA_STRING package_name, PULONG out_package);

/* Return 0 and do nothing: no output is set, nothing is released. */
KV_EXPORT NTSTATUS NTAPI LsaRegisterLogonProcess(PLSA_STRING logon_process_name, PHANDLE out_lsa,
                                                 PLSA_OPERATIONAL_MODE out_mode);
KV_EXPORT NTSTATUS NTAPI LsaDeregisterLogonProcess(HANDLE lsa);
KV_EXPORT NTSTATUS NTAPI LsaFreeReturnBuffer(PVOID buffer);

/* ---- Without function: report (see KvStub in kelvane/report.h) and return 0; no output is touched ---- */

KV_EXPORT NTSTATUS NTAPI LsaOpenPolicy(PLSA_UNICODE_STRING system_name, PLSA_OBJECT_ATTRIBUTES attributes,
                                       ACCESS_MASK access, PLSA_HANDLE out_policy);
KV_EXPORT NTSTATUS NTAPI LsaClose(LSA_HANDLE object);
KV_EXPORT NTSTATUS NTAPI LsaRetrievePrivateData(LSA_HANDLE policy, PLSA_UNICODE_STRING key_name,
                                                PLSA_UNICODE_STRING* out_data);
KV_EXPORT NTSTATUS NTAPI LsaStorePrivateData(LSA_HANDLE policy, PLSA_UNICODE_STRING key_name, PLSA_UNICODE_STRING data);

KV_END_C

#ifdef __cplusplus
static_assert(sizeof(LSA_UNICODE_STRING) == 16 && offsetof(LSA_UNICODE_STRING, Buffer) == 8, "the published layout");
static_assert(sizeof(LSA_STRING) == 16 && offsetof(LSA_STRING, Buffer) == 8, "the published layout");
static_assert(sizeof(LSA_OBJECT_ATTRIBUTES) == 48 && offsetof(LSA_OBJECT_ATTRIBUTES, Attributes) == 24,
              "the published layout");
static_assert(sizeof(QUOTA_LIMITS) == 48, "the published layout");
static_assert(sizeof(POLICY_ACCOUNT_DOMAIN_INFO) == 24 && offsetof(POLICY_ACCOUNT_DOMAIN_INFO, DomainSid) == 16,
              "the published layout");
static_assert(sizeof(POLICY_PRIMARY_DOMAIN_INFO) == 24 && offsetof(POLICY_PRIMARY_DOMAIN_INFO, Sid) == 16,
              "the published layout");
#endif

#endif
