// The life of the server's process, from its options to its exit status.
#pragma once

#include "regss/options.h"

namespace regss {

int serve(const Options& options);

}  // namespace regss
