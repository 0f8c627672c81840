#include "kernel32/sync/sync_error.h"

#include <errno.h>

DWORD kelvane::code_of_errno(int error) {
  switch (error) {
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case ENOSPC:
    case EDQUOT:
      return ERROR_DISK_FULL;
    case EROFS:
      return ERROR_WRITE_PROTECT;
    case EACCES:
    case EPERM:
    case ELOOP:
    case ENOTDIR:
      return ERROR_ACCESS_DENIED;
    case ENOSYS:
      return ERROR_CALL_NOT_IMPLEMENTED;
    default:
      return ERROR_OPEN_FAILED;
  }
}

BOOL kelvane::refuse(DWORD code) {
  SetLastError(code);
  return FALSE;
}
