// The entry that tells a user's domain.
#include <kelvane/registry_entries.h>
#include <winerror.h>

#include <cwchar>
#include <string>

#include "impl/entries/answer.h"
#include "impl/registry_service.h"

namespace {

NTSTATUS status_of(DWORD code) {
  switch (code) {
    case ERROR_SUCCESS:
      return STATUS_SUCCESS;
    case ERROR_NO_SUCH_USER:
      return STATUS_NOT_FOUND;
    case ERROR_ACCESS_DENIED:
      return STATUS_ACCESS_DENIED;
    default:
      return STATUS_UNSUCCESSFUL;
  }
}

// Writes the text with its terminator, which the length counts; too little room only tells the length.
NTSTATUS deliver(const std::wstring& text, wchar_t* buffer, DWORD* length) {
  const DWORD room = buffer != nullptr ? *length : 0;
  *length = static_cast<DWORD>(text.size() + 1);
  if (room < *length) return STATUS_MORE_ENTRIES;
  std::wmemcpy(buffer, text.c_str(), *length);
  return STATUS_SUCCESS;
}

}  // namespace

extern "C" {

NTSTATUS KvIGetImpersonatedUserInfo(const wchar_t* name, wchar_t* domain, DWORD* domain_length) {
  if (name == nullptr || domain_length == nullptr) return STATUS_INVALID_PARAMETER;
  std::wstring found;
  const DWORD code = impl::answer([&] { return impl::registry_service().user_domain(name, &found); });
  return code == ERROR_SUCCESS ? deliver(found, domain, domain_length) : status_of(code);
}

}  // extern "C"
