// The last error of each thread.
#include <winbase.h>

namespace {

thread_local DWORD last_error = 0;

}  // namespace

DWORD GetLastError() { return last_error; }

void SetLastError(DWORD code) { last_error = code; }
