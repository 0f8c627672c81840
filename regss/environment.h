// What libadvapi32 reads from the environment, set before it is started.
#pragma once

#include <string>

#include "regss/options.h"
#include "regss/settings.h"

namespace regss {

// Which hives this process serves: the mode, the files, the core data folder. Relative names become absolute, so that
// the process may leave its folder. False with the reason. The folder of the machine's hives is made when it is
// missing.
bool set_environment(const Options& options, const Settings& settings, std::string* out_reason);

}  // namespace regss
