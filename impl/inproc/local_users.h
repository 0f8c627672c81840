// The users of this host.
#pragma once

#include <windef.h>

#include <string>
#include <string_view>

namespace impl {

// The domain of a user, which is the host's name. ERROR_NO_SUCH_USER when the host has no user of this login name.
DWORD domain_of_local_user(std::wstring_view name, std::wstring* out_domain);

// The number of a user by his login name; ERROR_NO_SUCH_USER as above.
DWORD number_of_local_user(std::wstring_view name, DWORD* out_number);

// The number of the user whom the calling thread impersonates, else of the effective user.
DWORD number_of_thread_user();

}  // namespace impl
