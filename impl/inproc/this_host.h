// Whether a machine name means this host.
#pragma once

#include <string_view>

namespace impl {

// An empty name does, and the host's own name, whole or up to its first dot, in any case of letters and with
// or without the backslashes that stand before machine names.
bool is_this_host(std::u16string_view machine);

}  // namespace impl
