// The one place that turns the store's statuses into Win32 codes.
#pragma once

#include <windef.h>

#include "hive/status.h"

namespace impl {

DWORD code_of(hive::Status status);

}  // namespace impl
