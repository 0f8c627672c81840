// The port: a Unix stream socket in the file system. A path that no socket address holds is reached through the
// descriptor of its folder.
#pragma once

#include <string>

#include "impl/server/start_descriptor.h"

namespace impl {

// A connection to the port; none with errno. Does not wait: EAGAIN when too many wait to be accepted.
Descriptor connect_to_port(const std::string& path);

// A socket that listens at the path, which must not stand; none with errno. Everybody may connect, or this user only.
Descriptor listen_at_port(const std::string& path, bool for_everybody);

// Whether a server of this user, or of root, is connected to at the path.
bool port_answers(const std::string& path);

}  // namespace impl
