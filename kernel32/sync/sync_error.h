// The Win32 codes of what the system refuses.
#ifndef KELVANE_KERNEL32_SYNC_SYNC_ERROR_H
#define KELVANE_KERNEL32_SYNC_SYNC_ERROR_H

#include <winbase.h>

#include <new>

inline namespace kelvane {

DWORD code_of_errno(int error);

// Sets the last error; FALSE.
BOOL refuse(DWORD code);

// What the body gives, or null with ERROR_NOT_ENOUGH_MEMORY when memory runs out in it.
template <class Body>
HANDLE handle_from(Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

}  // namespace kelvane

#endif
