// The stored form of the descriptors that hold COM permissions: the self-relative form, in which these are high byte
// first:
//
//   value  = revision(1) pad(1) control(2) host(4) owner(4) host(4) group(4) host(20) parts
//   sid    = host(8) sub-authority(4)*count, owner's and group's
//
// The sub-authorities are turned round only when both offsets are below 2077. Everything else is in host order.
#pragma once

#include <winnt.h>

inline namespace kelvane {

// Turn a value of at least 40 bytes into host order and back. Only what lies inside the value is touched.
void turn_to_host_order(BYTE* value, DWORD size);
void turn_to_stored_order(BYTE* value, DWORD size);

// The low half of an offset's field, in host order.
enum class Com_Offset : DWORD { owner = 8, group = 16, sacl = 24, dacl = 32 };
DWORD com_offset(const BYTE* value, Com_Offset which);

}  // namespace kelvane
