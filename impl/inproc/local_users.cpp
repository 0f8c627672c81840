#include "impl/inproc/local_users.h"

#include <errno.h>
#include <kelvane/text.h>
#include <pwd.h>
#include <winbase.h>

#include <vector>

namespace impl {
namespace {

constexpr std::size_t first_entry_size = 1024;
constexpr std::size_t largest_entry_size = std::size_t{1} << 24;
constexpr DWORD host_name_room = 256;

bool has_entry(const char* name) {
  for (std::size_t size = first_entry_size; size <= largest_entry_size; size *= 2) {
    std::vector<char> buffer(size);
    passwd entry;
    passwd* found = nullptr;
    const int error = getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found);
    if (error != ERANGE) return error == 0 && found != nullptr;
  }
  return false;
}

}  // namespace

DWORD domain_of_local_user(std::wstring_view name, std::wstring* out_domain) {
  const KvAnsiStringWithLength narrow(name.data(), static_cast<int>(name.size()));
  if (!has_entry(narrow.text())) return ERROR_NO_SUCH_USER;
  char host[host_name_room];
  DWORD length = host_name_room;
  if (!GetComputerNameA(host, &length)) return GetLastError();
  const KvUnicodeStringWithLength wide(host, static_cast<int>(length));
  out_domain->assign(wide.text(), static_cast<std::size_t>(wide.length()));
  return ERROR_SUCCESS;
}

}  // namespace impl
