// The order of bytes in stored COM permissions.

#include "security/com_value.h"

#include "security/sid.h"
#include "security/unaligned.h"

inline namespace kelvane {
namespace {

// A new descriptor's 2,076 bytes and one.
constexpr DWORD offset_limit = 2077;

void turn_word(BYTE* at) { store(at, __builtin_bswap16(load<WORD>(at))); }
void turn_dword(BYTE* at) { store(at, __builtin_bswap32(load<DWORD>(at))); }

void turn_header(BYTE* value) {
  turn_word(value + offsetof(SECURITY_DESCRIPTOR, Control));
  turn_dword(value + static_cast<DWORD>(Com_Offset::owner));
  turn_dword(value + static_cast<DWORD>(Com_Offset::group));
}

// A damaged value may tell any offset and count: what lies outside is left out.
void turn_sid(BYTE* value, DWORD size, DWORD offset) {
  if (offset + sid_header_size > size) return;
  const DWORD end = offset + sid_size(value + offset);
  for (DWORD at = offset + sid_header_size; at + sub_authority_size <= size && at < end; at += sub_authority_size) {
    turn_dword(value + at);
  }
}

bool are_turned(DWORD owner, DWORD group) { return owner < offset_limit && group < offset_limit; }

}  // namespace

DWORD com_offset(const BYTE* value, Com_Offset which) { return load<DWORD>(value + static_cast<DWORD>(which)); }

void turn_to_host_order(BYTE* value, DWORD size) {
  const DWORD owner = __builtin_bswap32(com_offset(value, Com_Offset::owner));
  const DWORD group = __builtin_bswap32(com_offset(value, Com_Offset::group));
  if (are_turned(owner, group)) {
    turn_sid(value, size, owner);
    turn_sid(value, size, group);
  }
  turn_header(value);
}

void turn_to_stored_order(BYTE* value, DWORD size) {
  const DWORD owner = com_offset(value, Com_Offset::owner), group = com_offset(value, Com_Offset::group);
  // In the other order, which also brings SIDs back that overlap.
  if (are_turned(owner, group)) {
    turn_sid(value, size, group);
    turn_sid(value, size, owner);
  }
  turn_header(value);
}

}  // namespace kelvane
