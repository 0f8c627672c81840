// The name of the user as whom the calling thread acts.
#include <kelvane/impersonation.h>
#include <pwd.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>

#include <cstring>
#include <string>
#include <vector>

#include "kernel32/text/code_page.h"

namespace {

// "" when the user has no entry.
std::string login_name(uid_t user) {
  std::vector<char> room(1024);
  for (;;) {
    passwd entry{};
    passwd* found = nullptr;
    const int error = getpwuid_r(user, &entry, room.data(), room.size(), &found);
    if (error != ERANGE) return error == 0 && found != nullptr ? found->pw_name : "";
    room.resize(2 * room.size());
  }
}

// The user whom the thread impersonates, else the effective one.
uid_t user_of_thread() {
  const DWORD impersonated = KvTTGetUid();
  return impersonated != 0 ? impersonated - 1 : geteuid();
}

BOOL fail(DWORD code) {
  SetLastError(code);
  return FALSE;
}

// The length told counts the terminator, in the answer too.
template <class Char>
BOOL give(const std::basic_string<Char>& name, Char* out, LPDWORD size) {
  if (name.empty()) return fail(ERROR_NONE_MAPPED);
  const auto needed = static_cast<DWORD>(name.size() + 1);
  const bool fits = out != nullptr && *size >= needed;
  *size = needed;
  if (!fits) return fail(ERROR_INSUFFICIENT_BUFFER);
  memcpy(out, name.c_str(), needed * sizeof(Char));
  return TRUE;
}

std::wstring wide(const std::string& text) {
  const Code_Page& page = environment_code_page();
  std::wstring result(page.decoded_length(text.data(), text.size()).length, L'\0');
  page.decode(text.data(), text.size(), result.data(), result.size());
  return result;
}

}  // namespace

BOOL WINAPI GetUserNameA(LPSTR name, LPDWORD size) {
  if (size == nullptr) return fail(ERROR_INVALID_PARAMETER);
  return give(login_name(user_of_thread()), name, size);
}

BOOL WINAPI GetUserNameW(LPWSTR name, LPDWORD size) {
  if (size == nullptr) return fail(ERROR_INVALID_PARAMETER);
  return give(wide(login_name(user_of_thread())), name, size);
}
