// Calls of the local security authority that the implementation library answers.

#include <kelvane/lsa.h>
#include <ntsecapi.h>

#include "bootstrap/registry_table.h"

NTSTATUS LsaCallAuthenticationPackage(HANDLE lsa, ULONG package, PVOID submit_buffer, ULONG submit_buffer_size,
                                      PVOID* out_return_buffer, PULONG out_return_buffer_size,
                                      PNTSTATUS out_protocol_status) {
  return slot<Slot::KvILsaCallAuthenticationPackage>(lsa, package, submit_buffer, submit_buffer_size, out_return_buffer,
                                                     out_return_buffer_size, out_protocol_status, nullptr, nullptr);
}

NTSTATUS LsaLogonUser(HANDLE lsa, PLSA_STRING origin_name, SECURITY_LOGON_TYPE logon_type, ULONG package,
                      PVOID authentication, ULONG authentication_size, PTOKEN_GROUPS local_groups,
                      PTOKEN_SOURCE source_context, PVOID* out_profile, PULONG out_profile_size, PLUID out_logon_id,
                      PHANDLE out_token, PQUOTA_LIMITS out_quotas, PNTSTATUS out_sub_status) {
  return slot<Slot::KvILsaLogonUser>(lsa, origin_name, static_cast<int>(logon_type), package, authentication,
                                     authentication_size, local_groups, source_context, out_profile, out_profile_size,
                                     out_logon_id, out_token, out_quotas, out_sub_status);
}

NTSTATUS LsaQueryInformationPolicy(LSA_HANDLE policy, POLICY_INFORMATION_CLASS information_class, PVOID* out_buffer) {
  return slot<Slot::KvILsaQueryInformationPolicy>(policy, static_cast<int>(information_class), out_buffer);
}

INT_PTR KvLsaInit(void* a, void* b, void* c, void* d, void* e, void* f) {
  return slot<Slot::KvILsaInit>(a, b, c, d, e, f);
}

INT_PTR KvIsAdministrator(void* a, void* b, void* c, void* d, void* e, void* f) {
  return slot<Slot::KvIIsAdministrator>(a, b, c, d, e, f);
}

INT_PTR KvMapImpersonatedUser(void* a, void* b, void* c, void* d, void* e, void* f) {
  return slot<Slot::KvIMapImpersonatedUser>(a, b, c, d, e, f);
}

INT_PTR KvRefreshSecData(void* a, void* b, void* c, void* d, void* e, void* f) {
  return slot<Slot::KvIRefreshSecData>(a, b, c, d, e, f);
}
