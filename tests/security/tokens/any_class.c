#include "tests/security/tokens/any_class.h"

BOOL get_information(HANDLE token, DWORD number, LPVOID buffer, DWORD size, PDWORD out_size) {
  return GetTokenInformation(token, (TOKEN_INFORMATION_CLASS)number, buffer, size, out_size);
}

NTSTATUS query_information(HANDLE token, DWORD number, PVOID buffer, ULONG size, PULONG out_size) {
  return NtQueryInformationToken(token, (TOKEN_INFORMATION_CLASS)number, buffer, size, out_size);
}
