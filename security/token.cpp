// Tokens of the plain functions: the number 1 for every process and thread, and what a token answers about itself.

#include <kelvane/impersonation.h>
#include <kelvane/token.h>

#include <cstring>

inline namespace kelvane {
namespace {

// QUIRK process-token-one: every process and thread has this token.
const HANDLE plain_token = reinterpret_cast<HANDLE>(1);

constexpr DWORD class_count = TokenStatistics + 1;

// The room that each class asks for, by its number; 0 for none.
constexpr DWORD class_sizes[class_count] = {
    0,
    sizeof(TOKEN_USER),
    sizeof(TOKEN_GROUPS),
    sizeof(TOKEN_PRIVILEGES),
    sizeof(TOKEN_OWNER),
    sizeof(TOKEN_PRIMARY_GROUP),
    sizeof(TOKEN_DEFAULT_DACL),
    sizeof(TOKEN_SOURCE),
    sizeof(TOKEN_TYPE),
    sizeof(SECURITY_IMPERSONATION_LEVEL),
    sizeof(TOKEN_STATISTICS),
};

BOOL fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

// The class as a number: a caller may pass one that the enumeration does not have.
DWORD number_of(const TOKEN_INFORMATION_CLASS& information_class) {
  DWORD number;
  std::memcpy(&number, &information_class, sizeof number);
  return number;
}

// The SID has no sub-authorities and says nothing about the user. It becomes the caller's.
void fill_user(void* buffer) {
  SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
  PSID sid = nullptr;
  AllocateAndInitializeSid(&authority, 0, 0, 0, 0, 0, 0, 0, 0, 0, &sid);
  auto* const user = static_cast<BYTE*>(buffer);
  const DWORD attributes = 0;
  std::memcpy(user + offsetof(SID_AND_ATTRIBUTES, Sid), &sid, sizeof sid);
  std::memcpy(user + offsetof(SID_AND_ATTRIBUTES, Attributes), &attributes, sizeof attributes);
}

void fill_statistics(void* buffer, HANDLE token) {
  auto* const statistics = static_cast<BYTE*>(buffer);
  std::memcpy(statistics + offsetof(TOKEN_STATISTICS, AuthenticationId), &token, sizeof token);
}

}  // namespace
}  // namespace kelvane

BOOL OpenProcessToken(HANDLE, DWORD, PHANDLE out_token) {
  *out_token = plain_token;
  return TRUE;
}

BOOL OpenThreadToken(HANDLE, DWORD, BOOL, PHANDLE out_token) {
  *out_token = plain_token;
  return TRUE;
}

BOOL GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS information_class, LPVOID buffer, DWORD size,
                         PDWORD out_size) {
  const DWORD number = number_of(information_class);
  if (number == 0 || number >= class_count) return fail(ERROR_INVALID_PARAMETER);
  // QUIRK token-size-on-failure: the size is told only to a buffer that is too small.
  if (size < class_sizes[number]) {
    *out_size = class_sizes[number];
    return fail(ERROR_INSUFFICIENT_BUFFER);
  }
  // QUIRK token-classes-untouched: every other class succeeds and leaves the buffer as it was.
  if (number == TokenUser) fill_user(buffer);
  if (number == TokenStatistics) fill_statistics(buffer, token);
  return TRUE;
}

BOOL AllocateLocallyUniqueId(PLUID out_id) { return KvAllocateLocallyUniqueId(out_id); }
