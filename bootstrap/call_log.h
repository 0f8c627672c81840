// The stream that entry points without an implementation write their names to.
#pragma once

#include <kelvane/stream.h>

inline namespace kelvane {

// Opened at start-up as the profile asks, null before and after. It belongs to the library's heap of bones.
extern kvostream* Log_Call;

}  // namespace kelvane
