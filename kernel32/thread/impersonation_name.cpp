// The name of the user for whom a thread works, looked up by uid.
#include <errno.h>
#include <kelvane/impersonation.h>
#include <kelvane/text.h>
#include <pwd.h>
#include <string.h>
#include <unistd.h>
#include <winbase.h>

#include <string>

namespace {

constexpr size_t first_entry_size = 1024;
constexpr size_t largest_entry_size = size_t{1} << 24;

BOOL fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

uid_t uid_of_thread() {
  const DWORD slot = KvTTGetUid();
  return slot != 0 ? slot - 1 : geteuid();
}

// 0 with the name, or the code of what went wrong.
DWORD find_name(uid_t uid, std::string* name) {
  for (size_t size = first_entry_size; size <= largest_entry_size; size *= 2) {
    std::string buffer(size, '\0');
    passwd entry;
    passwd* found = nullptr;
    const int error = getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (error == ENOMEM) return ERROR_NOT_ENOUGH_MEMORY;
    if (error != 0 || found == nullptr) return ERROR_NO_SUCH_USER;
    *name = found->pw_name;
    return ERROR_SUCCESS;
  }
  return ERROR_NO_SUCH_USER;
}

// Gives count characters and a terminator to a buffer of *length.
template <class Character>
BOOL deliver(const Character* text, size_t count, Character* buffer, LPDWORD length) {
  const DWORD room = *length;
  *length = static_cast<DWORD>(count + 1);
  if (buffer == nullptr || room < *length) return fail(ERROR_INSUFFICIENT_BUFFER);
  memcpy(buffer, text, count * sizeof(Character));
  buffer[count] = 0;
  return TRUE;
}

// Finds the name and gives it to the function; FALSE with the last error set when there is none.
template <class Function>
BOOL with_name(LPDWORD length, Function function) {
  if (length == nullptr) return fail(ERROR_INVALID_PARAMETER);
  try {
    std::string name;
    const DWORD error = find_name(uid_of_thread(), &name);
    return error == ERROR_SUCCESS ? function(name) : fail(error);
  } catch (const std::bad_alloc&) {
    return fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}

}  // namespace

BOOL KvIGetImpersonatedUserNameA(LPSTR name, LPDWORD length) {
  return with_name(length,
                   [&](const std::string& found) { return deliver(found.c_str(), found.size(), name, length); });
}

BOOL KvIGetImpersonatedUserNameW(LPWSTR name, LPDWORD length) {
  return with_name(length, [&](const std::string& found) {
    const KvUnicodeStringWithLength wide(found.data(), static_cast<int>(found.size()));
    return deliver<wchar_t>(wide.text(), static_cast<size_t>(wide.length()), name, length);
  });
}
