// For whom the calling thread works: its token, and the user's name and domain.

#include <kelvane/impersonation.h>
#include <kelvane/token.h>
#include <unistd.h>

#include "bootstrap/registry_table.h"
#include "registry/array.h"

inline namespace kelvane {
namespace {

constexpr DWORD last_error_ok = 0;

BOOL fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

DWORD uid_of(HANDLE token) { return static_cast<DWORD>(reinterpret_cast<UINT_PTR>(token)); }

// Status 0: the domain came, but its length counts only when the caller's own room has it.
BOOL accept_domain(DWORD length, LPDWORD domain_length) {
  const bool fits = *domain_length >= length;
  *domain_length = length;
  if (!fits) return fail(ERROR_MORE_DATA);
  SetLastError(last_error_ok);
  return TRUE;
}

BOOL refuse_domain(DWORD length, LPDWORD domain_length) {
  *domain_length = length;
  return fail(ERROR_MORE_DATA);
}

// QUIRK low-byte-names: no code page is asked; a character above 255 keeps its low byte.
void copy_low_bytes(const wchar_t* text, DWORD count, LPSTR out) {
  for (DWORD i = 0; i < count; ++i) out[i] = static_cast<char>(text[i] & 0xFF);
}

}  // namespace
}  // namespace kelvane

BOOL KvOpenThreadToken(HANDLE, DWORD, BOOL, PHANDLE out_token) {
  const DWORD slot = KvTTGetUid();
  const DWORD uid = slot != 0 ? slot - 1 : static_cast<DWORD>(geteuid());
  *out_token = reinterpret_cast<HANDLE>(UINT_PTR{uid});
  return TRUE;
}

BOOL KvSetThreadToken(HANDLE, HANDLE token) { return KvTTSetUid(uid_of(token) + 1); }

DWORD KvGetClientId(void) {
  HANDLE token = nullptr;
  KvOpenThreadToken(nullptr, 0, FALSE, &token);
  return uid_of(token);
}

BOOL KvGetImpersonatedUserNameW(LPWSTR name, LPDWORD length) { return KvIGetImpersonatedUserNameW(name, length); }

BOOL KvGetImpersonatedUserNameA(LPSTR name, LPDWORD length) { return KvIGetImpersonatedUserNameA(name, length); }

NTSTATUS KvGetImpersonatedUserInfo(const wchar_t* name, wchar_t* domain, DWORD* domain_length) {
  return slot<Slot::KvIGetImpersonatedUserInfo>(name, domain, domain_length);
}

BOOL KvGetImpersonatedUserNameExW(LPWSTR name, LPDWORD name_length, LPWSTR domain, LPDWORD domain_length) {
  if (!KvGetImpersonatedUserNameW(name, name_length)) return FALSE;
  DWORD length = *domain_length;
  switch (KvGetImpersonatedUserInfo(name, domain, &length)) {
    case STATUS_SUCCESS:
      return accept_domain(length, domain_length);
    case STATUS_MORE_ENTRIES:
      return refuse_domain(length, domain_length);
    case STATUS_NOT_FOUND:
      return fail(ERROR_NOT_FOUND);
    case STATUS_ACCESS_DENIED:
      return fail(static_cast<DWORD>(E_ACCESSDENIED));
    case STATUS_UNSUCCESSFUL:
      return fail(static_cast<DWORD>(E_FAIL));
    default:
      return fail(static_cast<DWORD>(E_UNEXPECTED));
  }
}

BOOL KvGetImpersonatedUserNameExA(LPSTR name, LPDWORD name_length, LPSTR domain, LPDWORD domain_length) {
  Array<wchar_t> wide_name(*name_length);
  Array<wchar_t> wide_domain(*domain_length);
  const BOOL done = KvGetImpersonatedUserNameExW(wide_name.data(), name_length, wide_domain.data(), domain_length);
  if (!done) return done;
  copy_low_bytes(wide_name.data(), *name_length, name);
  copy_low_bytes(wide_domain.data(), *domain_length, domain);
  return done;
}
