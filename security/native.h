// How the native forms tell the outcome of the published function that they call.
#pragma once

#include <winbase.h>

inline namespace kelvane {

// QUIRK native-statuses: three ways of telling a failure, each form its own.
inline NTSTATUS zero_or_13(BOOL done) { return done ? STATUS_SUCCESS : ERROR_INVALID_DATA; }
inline NTSTATUS always_last_error(BOOL) { return static_cast<NTSTATUS>(GetLastError()); }
inline NTSTATUS one_or_last_error(BOOL done) { return done ? 1 : static_cast<NTSTATUS>(GetLastError()); }

// A flag's own byte, whatever a caller with a wider declaration has put beside it: a compiler may take that for
// zeros.
inline BOOL byte_of(const volatile BOOLEAN& flag) { return flag; }

template <class Result>
Result itself(Result result) {
  return result;
}

}  // namespace kelvane
