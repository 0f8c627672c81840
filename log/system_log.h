// The system log takes what the disk has no room for.
#pragma once

#include <cstdarg>

inline namespace kelvane {

// Hands the message to syslog as an error, behind a line that says why. The arguments may be needed twice and
// stay the caller's.
void Write2Syslog(const char* format, va_list arguments);

}  // namespace kelvane
