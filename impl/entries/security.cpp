// Entries of the local security authority and of security descriptors. None is provided: each says so and
// touches no output.
#include <kelvane/registry_entries.h>
#include <winerror.h>

namespace {

// The answer of an entry whose result is a truth value.
INT_PTR no_and_not_implemented() {
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return FALSE;
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

NTSTATUS KvILsaQueryInformationPolicy(HANDLE, int, void**) { return STATUS_NOT_SUPPORTED; }

INT_PTR KvILsaInit(void*, void*, void*, void*, void*, void*) { return STATUS_NOT_SUPPORTED; }

INT_PTR KvIIsAdministrator(void*, void*, void*, void*, void*, void*) { return no_and_not_implemented(); }

INT_PTR KvIMapImpersonatedUser(void*, void*, void*, void*, void*, void*) { return no_and_not_implemented(); }

INT_PTR KvIRefreshSecData(void*, void*, void*, void*, void*, void*) { return ERROR_CALL_NOT_IMPLEMENTED; }

}  // extern "C"
