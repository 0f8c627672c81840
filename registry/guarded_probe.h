// Looking at one byte behind a caller's data, which may not be there.
#pragma once

inline namespace kelvane {

// Whether the byte just behind readable data, at `end`, can be read and is zero. The byte before it must be
// readable.
bool is_zero_behind(const unsigned char* end);

}  // namespace kelvane
