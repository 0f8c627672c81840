// Entries that ask for users by name. A null name is the calling thread's user.
#include <kelvane/registry_entries.h>
#include <winerror.h>

#include "impl/entries/answer.h"
#include "impl/registry_service.h"

namespace {

// TRUE and the user's number, or FALSE with the last error.
BOOL find_user(const void* name, DWORD* out_number) {
  const auto* const text = static_cast<const wchar_t*>(name);
  const DWORD code = impl::answer([&] { return impl::registry_service().user_number(text, out_number); });
  if (code != ERROR_SUCCESS) SetLastError(code);
  return code == ERROR_SUCCESS ? TRUE : FALSE;
}

}  // namespace

extern "C" {

// Whoever is user 0 on this host.
INT_PTR KvIIsAdministrator(void* a, void*, void*, void*, void*, void*) {
  DWORD number = 0;
  return find_user(a, &number) && number == 0;
}

INT_PTR KvIMapImpersonatedUser(void* a, void* b, void*, void*, void*, void*) {
  DWORD number = 0;
  if (!find_user(a, &number)) return FALSE;
  if (b != nullptr) *static_cast<DWORD*>(b) = number;
  return TRUE;
}

// Users are looked up anew at each question.
INT_PTR KvIRefreshSecData(void*, void*, void*, void*, void*, void*) { return ERROR_SUCCESS; }

}  // extern "C"
