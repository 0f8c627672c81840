// What a logon process asks of the local security authority that needs no implementation: the authentication package
// by name, and calls that have nothing to do.

#include <ntsecapi.h>

#include <cstring>

inline namespace kelvane {
namespace {

constexpr ULONG package_count = 1;
constexpr const char* package_names[package_count] = {MSV1_0_PACKAGE_NAME};

// QUIRK package-name-prefix: only the given length is compared, so that every prefix names the package. An empty name
// need not have a buffer.
bool names(const LSA_STRING& name, const char* package) {
  return name.Length == 0 || std::strncmp(name.Buffer, package, name.Length) == 0;
}

}  // namespace
}  // namespace kelvane

NTSTATUS LsaLookupAuthenticationPackage(HANDLE, PLSA_STRING package_name, PULONG out_package) {
  *out_package = 0;
  for (ULONG package = 0; package < package_count; ++package) {
    if (!names(*package_name, package_names[package])) continue;
    *out_package = package;
    return STATUS_SUCCESS;
  }
  return STATUS_INVALID_PARAMETER;
}

NTSTATUS LsaRegisterLogonProcess(PLSA_STRING, PHANDLE, PLSA_OPERATIONAL_MODE) { return STATUS_SUCCESS; }

NTSTATUS LsaDeregisterLogonProcess(HANDLE) { return STATUS_SUCCESS; }

NTSTATUS LsaFreeReturnBuffer(PVOID) { return STATUS_SUCCESS; }
