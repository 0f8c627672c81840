// The sizes of a SID: 8 bytes of header and 4 for each sub-authority that its count byte tells.
#pragma once

#include <winnt.h>

inline namespace kelvane {

constexpr DWORD sid_header_size = 8;
constexpr DWORD sub_authority_size = 4;

constexpr DWORD sid_size_of(unsigned count) { return sid_header_size + sub_authority_size * count; }

inline unsigned sid_count(const void* sid) { return static_cast<const BYTE*>(sid)[1]; }

// 0 for null.
inline DWORD sid_size(const void* sid) { return sid == nullptr ? 0 : sid_size_of(sid_count(sid)); }

}  // namespace kelvane
