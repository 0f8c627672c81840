#include "impl/inproc/local_users.h"

#include <errno.h>
#include <kelvane/impersonation.h>
#include <kelvane/text.h>
#include <pwd.h>
#include <unistd.h>
#include <winbase.h>

#include <optional>
#include <vector>

namespace impl {
namespace {

constexpr std::size_t first_entry_size = 1024;
constexpr std::size_t largest_entry_size = std::size_t{1} << 24;
constexpr DWORD host_name_room = 256;

// The user's number; none when the host has no such user.
std::optional<DWORD> number_of(const char* name) {
  for (std::size_t size = first_entry_size; size <= largest_entry_size; size *= 2) {
    std::vector<char> buffer(size);
    passwd entry;
    passwd* found = nullptr;
    const int error = getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    return error == 0 && found != nullptr ? std::optional<DWORD>(found->pw_uid) : std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

DWORD domain_of_local_user(std::wstring_view name, std::wstring* out_domain) {
  const KvAnsiStringWithLength narrow(name.data(), static_cast<int>(name.size()));
  if (!number_of(narrow.text())) return ERROR_NO_SUCH_USER;
  char host[host_name_room];
  DWORD length = host_name_room;
  if (!GetComputerNameA(host, &length)) return GetLastError();
  const KvUnicodeStringWithLength wide(host, static_cast<int>(length));
  out_domain->assign(wide.text(), static_cast<std::size_t>(wide.length()));
  return ERROR_SUCCESS;
}

DWORD number_of_local_user(std::wstring_view name, DWORD* out_number) {
  const KvAnsiStringWithLength narrow(name.data(), static_cast<int>(name.size()));
  const std::optional<DWORD> number = number_of(narrow.text());
  if (!number) return ERROR_NO_SUCH_USER;
  *out_number = *number;
  return ERROR_SUCCESS;
}

DWORD number_of_thread_user() {
  const DWORD impersonated = KvTTGetUid();
  return impersonated != 0 ? impersonated - 1 : geteuid();
}

}  // namespace impl
