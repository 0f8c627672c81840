// Looking at one byte behind a caller's data, which may not be there.
#pragma once

inline namespace kelvane {

// Whether the byte at `end`, just behind a caller's data, can be read and is zero.
bool is_zero_behind(const unsigned char* end);

}  // namespace kelvane
