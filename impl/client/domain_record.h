// Records of the server's host as callers get them.
#pragma once

#include <kelvane/registry_table.h>

#include <string_view>

#include "impl/wire/fields.h"

namespace impl::client {

// The policy record of a domain, by its name and the bytes of its SID (none: no SID), which lives as long as the
// process; the same for the same domain. Null when they make no record of this class.
void* domain_record(int information_class, std::u16string_view name, wire::Bytes sid);

RegistryConnection connection_record(const wire::Connected_Client& client);

}  // namespace impl::client
