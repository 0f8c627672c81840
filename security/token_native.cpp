// The native forms of the token functions: the same with a status.

#include <kelvane/token.h>

inline namespace kelvane {
namespace {

NTSTATUS status_of(BOOL done) { return done ? STATUS_SUCCESS : static_cast<NTSTATUS>(GetLastError()); }

}  // namespace
}  // namespace kelvane

NTSTATUS NtOpenProcessToken(HANDLE process, ACCESS_MASK access, PHANDLE out_token) {
  return status_of(OpenProcessToken(process, access, out_token));
}

NTSTATUS NtOpenThreadToken(HANDLE thread, ACCESS_MASK access, BOOLEAN open_as_self, PHANDLE out_token) {
  return status_of(OpenThreadToken(thread, access, open_as_self, out_token));
}

// The class may be one that the enumeration does not have.
__attribute__((no_sanitize("enum"))) NTSTATUS NtQueryInformationToken(HANDLE token,
                                                                      TOKEN_INFORMATION_CLASS information_class,
                                                                      PVOID buffer, ULONG size, PULONG out_size) {
  const NTSTATUS status = status_of(GetTokenInformation(token, information_class, buffer, size, out_size));
  return status == ERROR_INSUFFICIENT_BUFFER ? STATUS_BUFFER_TOO_SMALL : status;
}
