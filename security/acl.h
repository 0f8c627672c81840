// Walking an access-control list. Entries are packed, so a walk goes from one to the next by the sizes that they
// tell; it believes them and the count, and may so read outside the list.
#pragma once

#include <winnt.h>

#include "security/unaligned.h"

inline namespace kelvane {

constexpr DWORD acl_header_size = sizeof(ACL);
constexpr DWORD no_limit = 0xFFFFFFFF;

inline unsigned ace_count(const void* acl) {
  return load<WORD>(static_cast<const BYTE*>(acl) + offsetof(ACL, AceCount));
}

inline DWORD acl_size(const void* acl) { return load<WORD>(static_cast<const BYTE*>(acl) + offsetof(ACL, AclSize)); }

// The end of the first `count` entries as an offset into the list: where the next one begins. The walk stops at the
// first entry that ends behind `limit`, and tells that end. Reads outside the caller's memory when the list's
// numbers say so, on purpose.
__attribute__((no_sanitize("address"))) inline DWORD end_of_entries(const void* acl, unsigned count,
                                                                    DWORD limit = no_limit) {
  const BYTE* const list = static_cast<const BYTE*>(acl);
  DWORD end = acl_header_size;
  for (unsigned i = 0; i < count && end <= limit; ++i) {
    const BYTE* const size = list + end + offsetof(ACE_HEADER, AceSize);
    end += size[0] | static_cast<DWORD>(size[1]) << 8;
  }
  return end;
}

inline DWORD acl_bytes_in_use(const void* acl) { return end_of_entries(acl, ace_count(acl)); }

// The free bytes, signed; some negative number when the list is overrun.
inline LONG acl_bytes_free(const void* acl) {
  const DWORD size = acl_size(acl);
  return static_cast<LONG>(size) - static_cast<LONG>(end_of_entries(acl, ace_count(acl), size));
}

}  // namespace kelvane
