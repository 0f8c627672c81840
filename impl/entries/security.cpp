// Entries of the local security authority and of security descriptors. Policy is told as the service knows it; logons,
// package calls and descriptors of keys are not provided: each says so and touches no output.
#include <kelvane/registry_entries.h>
#include <winerror.h>

#include "impl/entries/answer.h"
#include "impl/registry_service.h"

namespace {

NTSTATUS status_of(DWORD code) {
  switch (code) {
    case ERROR_SUCCESS:
      return STATUS_SUCCESS;
    case ERROR_INVALID_PARAMETER:
      return STATUS_INVALID_PARAMETER;
    case ERROR_NOT_ENOUGH_MEMORY:
      return STATUS_NO_MEMORY;
    default:
      return STATUS_NOT_SUPPORTED;
  }
}

}  // namespace

extern "C" {

DWORD KvIRegGetKeySecurity(HKEY, SECURITY_INFORMATION, void*, DWORD*, void*) { return ERROR_CALL_NOT_IMPLEMENTED; }

DWORD KvIRegSetKeySecurity(HKEY, SECURITY_INFORMATION, void*, void*) { return ERROR_CALL_NOT_IMPLEMENTED; }

NTSTATUS KvILsaCallAuthenticationPackage(HANDLE, ULONG, void*, ULONG, void**, ULONG*, NTSTATUS*, void*, void*) {
  return STATUS_NOT_SUPPORTED;
}

NTSTATUS KvILsaLogonUser(HANDLE, void*, int, ULONG, void*, ULONG, void*, void*, void**, ULONG*, void*, HANDLE*, void*,
                         NTSTATUS*) {
  return STATUS_NOT_SUPPORTED;
}

NTSTATUS KvILsaQueryInformationPolicy(HANDLE, int information_class, void** out_buffer) {
  if (out_buffer == nullptr) return STATUS_INVALID_PARAMETER;
  return status_of(impl::answer([&] { return impl::registry_service().policy(information_class, out_buffer); }));
}

// There is nothing to prepare.
INT_PTR KvILsaInit(void*, void*, void*, void*, void*, void*) { return STATUS_SUCCESS; }

}  // extern "C"
