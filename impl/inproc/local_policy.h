// What the local security authority tells of this machine's domains.
#pragma once

#include <windef.h>

namespace impl {

// The record of one POLICY_INFORMATION_CLASS, which lives as long as the process: of the account domain the host's name
// and the SID that the SIDs of its users begin with, of the primary domain a workgroup's name and no SID.
// ERROR_NOT_SUPPORTED for another published class, ERROR_INVALID_PARAMETER for any other number.
DWORD local_policy(int information_class, void** out_record);

}  // namespace impl
