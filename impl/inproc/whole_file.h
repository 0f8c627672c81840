// The content of a small file.
#pragma once

#include <optional>
#include <string>

namespace impl {

// None when it cannot be opened or read, also because the program closes descriptors that are not its own meanwhile.
// Throws nothing but std::bad_alloc.
std::optional<std::string> content_of(const std::string& path);

}  // namespace impl
