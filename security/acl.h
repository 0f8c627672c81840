// Walking an access-control list. Entries are packed, so a walk goes from one to the next by the sizes that they
// tell; it believes them and the count, and may so read outside the list.
#pragma once

#include <winnt.h>

inline namespace kelvane {

constexpr DWORD acl_header_size = sizeof(ACL);

// The end of the entries before entry number `count`, as an offset into the list: where that entry begins. The walk
// stops at the first entry that ends behind `limit`, and tells that end.
DWORD end_of_entries(const void* acl, unsigned count, DWORD limit);

constexpr DWORD no_limit = 0xFFFFFFFF;

unsigned ace_count(const void* acl);
DWORD acl_size(const void* acl);

// The bytes in use; with a limit, some number above the limit when there are more.
DWORD acl_bytes_in_use(const void* acl, DWORD limit = no_limit);

// The free bytes, signed; some negative number when the list is overrun.
LONG acl_bytes_free(const void* acl);

}  // namespace kelvane
