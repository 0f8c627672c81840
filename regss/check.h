// Looking the hives through before they are served.
#pragma once

#include <string>

namespace regss {

// The machine's hive, and the user's unless the server is the machine's. Each fault is said. False with the reason when
// there is one, or when a hive cannot be looked through.
bool check_hives(bool machine_wide, std::string* out_reason);

}  // namespace regss
